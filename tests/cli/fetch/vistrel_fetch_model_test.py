#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""`vistrel-fetch model` and `--check` from outside, with a hub that fails in every way."""

import fcntl
import hashlib
import json
import os
import pty
import random
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

sys.path[:0] = [str(Path(__file__).resolve().parent), str(Path(__file__).resolve().parents[1])]
from command import without_steps  # noqa: E402
from hub import (  # noqa: E402
    PATH, Cut, Hub, cut_after, cut_before_the_answer, cut_in_the_headers, make_certificate, reset)

PROGRAM = Path(os.environ["VISTREL_BIN"]) / "vistrel-fetch"
NAME = "sharp_fp16.onnx"
CONTENT = random.Random(1).randbytes(200_000)
OTHER = random.Random(2).randbytes(200_000)
PROXIES = ("http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY")


def setUpModule():
    folder = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(folder.cleanup)
    FetchTest.certificate, FetchTest.context = make_certificate(folder.name)


class FetchTest(unittest.TestCase):
    certificate, context = "", None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.home = Path(folder.name) / "home"
        self.home.mkdir()
        self.models = self.home / ".local/share/Vistrel/Models"
        self.file, self.part = self.models / NAME, self.models / f"{NAME}.part"
        self.settings = self.home / ".config/Vistrel/settings.json"
        self.hub = Hub(self.context)
        self.addCleanup(self.hub.close)
        self.hub.content = CONTENT
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.startswith(("XDG_", "HF_")) and name not in PROXIES}
        self.environment |= {"HOME": str(self.home), "HF_ENDPOINT": self.hub.endpoint,
                             "SSL_CERT_FILE": self.certificate}

    def options(self, **options):
        return {"env": self.environment, "stdin": subprocess.DEVNULL, "stderr": subprocess.PIPE, "text": True,
                **options}

    def start(self, *arguments, **options):
        return subprocess.Popen([PROGRAM, "model", "--accept-licence", *arguments], **self.options(**options))

    def run_program(self, *arguments, **options):
        result = subprocess.run([PROGRAM, *arguments], timeout=60, check=False, **self.options(**options))
        result.stderr = without_steps(result.stderr.encode()).decode()
        return result

    def fetch(self, *arguments, **options):
        return self.run_program("model", "--accept-licence", *arguments, **options)

    def left(self):
        return sorted(os.listdir(self.models)) if self.models.exists() else []

    def leave_part(self, content, url=None, etag='"first"', size=len(CONTENT), digest=None):
        """What an earlier call has left."""
        self.models.mkdir(parents=True, exist_ok=True)
        self.part.write_bytes(content)
        digest = hashlib.sha256(CONTENT).hexdigest() if digest is None else digest
        self.part.with_name(f"{NAME}.part.origin").write_text(
            f"url {url or self.hub.endpoint + PATH}\netag {etag}\nsize {size}\nsha256 {digest}\n")

    def check_fetched(self, result, content=CONTENT):
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.left(), [NAME, f"{NAME}.sha256"])
        self.assertEqual(self.file.read_bytes(), content)
        subprocess.run(["sha256sum", "-c", "--quiet", f"{NAME}.sha256"], cwd=self.models, check=True)

    def check_refused(self, result, *texts, left=()):
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertEqual(self.left(), list(left))
        self.assertFalse(self.settings.exists())
        for text in ("Error: ", *texts):
            self.assertIn(text, result.stderr)


class Arrival(FetchTest):
    def test_the_file_appears_and_the_window_has_it_chosen(self):
        result = self.fetch()
        self.check_fetched(result)
        self.assertEqual(json.loads(self.settings.read_text()), {"modelPath": str(self.file)})
        self.assertIn(self.hub.sum, result.stderr)

    def test_a_terminal_has_one_line_that_changes_and_goes(self):
        terminal, other = pty.openpty()
        self.addCleanup(os.close, terminal)
        with os.fdopen(other, "wb") as stderr:
            self.assertEqual(self.start(stderr=stderr).wait(), 0)
            told = os.read(terminal, 10_000)
        self.assertRegex(told, rb"^\r0 of 0 MB\x1b\[K(\r0 of 0 MB\x1b\[K)*\r\x1b\[K/")

    def test_another_folder_and_no_choice(self):
        result = self.fetch("--to", self.home / "my models", "--no-select")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual((self.home / "my models" / NAME).read_bytes(), CONTENT)
        self.assertFalse(self.settings.exists())

    def test_other_settings_stay(self):
        self.settings.parent.mkdir(parents=True)
        self.settings.write_text('{"depth": "12", "modelPath": "/old", "theirs": [1, "\\udc80"]}')
        self.check_fetched(self.fetch())
        self.assertEqual(self.settings.read_text(),
                         f'{{"depth": "12", "modelPath": "{self.file}", "theirs": [1, "\\udc80"]}}')

    def test_broken_settings_are_told_and_stay(self):
        self.settings.parent.mkdir(parents=True)
        self.settings.write_text("{")
        result = self.fetch()
        self.assertEqual(result.returncode, 1)
        self.assertIn(f"Error: {self.settings}: the settings are broken", result.stderr)
        self.assertEqual(self.settings.read_text(), "{")
        self.assertEqual(self.file.read_bytes(), CONTENT)

    def test_a_whole_file_is_not_fetched_again(self):
        self.check_fetched(self.fetch("--no-select"))
        self.hub.requests.clear()
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("there already, whole", result.stderr)
        self.assertEqual(self.hub.file_requests(), [])
        self.assertTrue(self.settings.exists())

    def test_another_file_of_that_name_stays_until_the_new_one_is_whole(self):
        self.models.mkdir(parents=True)
        self.file.write_bytes(OTHER)
        self.hub.plan = [cut_after(1000), lambda _, request: request.answer(404)]
        self.assertEqual(self.fetch().returncode, 1)
        self.assertEqual(self.file.read_bytes(), OTHER)
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("not what the server has", result.stderr)

    def test_a_link_leads_to_the_place_of_the_file(self):
        (self.home / "disk").mkdir()
        self.models.mkdir(parents=True)
        (self.home / "disk" / NAME).write_bytes(b"old")
        self.file.symlink_to(self.home / "disk" / NAME)
        self.assertEqual(self.fetch().returncode, 0)
        self.assertTrue(self.file.is_symlink())
        self.assertEqual((self.home / "disk" / NAME).read_bytes(), CONTENT)

    def test_the_token_is_told_to_the_hub_alone(self):
        self.environment["HF_TOKEN"] = "hf_secret\n"
        self.hub.plan = [cut_after(1000)]
        result = self.fetch()
        self.check_fetched(result)
        self.assertNotIn("hf_secret", result.stderr)
        told = {request.host: request.headers.get("authorization") for request in self.hub.requests}
        self.assertEqual(told, {"localhost": "Bearer hf_secret", "127.0.0.1": None})

    def test_a_redirect_to_an_unprotected_address_is_not_followed(self):
        self.hub.hub_answer = lambda hub, request: request.answer(
            302, (f"Location: http://127.0.0.1:{hub.port}/file", "Content-Length: 0"))
        self.check_refused(self.fetch(), "unprotected")

    def test_redirects_without_end_are_left(self):
        self.hub.hub_answer = lambda _, request: request.answer(307, (f"Location: {PATH}", "Content-Length: 0"))
        self.check_refused(self.fetch(), "redirects do not end")
        self.assertEqual(len(self.hub.requests), 11)

    def test_a_server_that_nobody_trusts_is_left_at_once(self):
        del self.environment["SSL_CERT_FILE"]
        self.check_refused(self.fetch(), "certificate")
        self.assertEqual(self.hub.requests, [])

    def test_refusals_say_what_helps(self):
        for status, text in ((404, "no such file"), (401, "HF_TOKEN"), (403, "HF_TOKEN"), (400, "status 400")):
            with self.subTest(status):
                self.hub.hub_answer = lambda _, request, status=status: request.answer(
                    status, ("Content-Length: 0",))
                self.check_refused(self.fetch(), text)

    def test_a_disk_without_room_is_told_before(self):
        self.hub.hub_answer = lambda hub, request: request.answer(
            302, (f"Location: {hub.file_address}", f'X-Linked-Etag: "{hub.sum}"',
                  f"X-Linked-Size: {10**16}", "Content-Length: 0"))
        result = self.fetch()
        self.check_refused(result, f"needs {10**16} bytes more, and ")
        self.assertEqual(self.hub.file_requests(), [])

    def test_without_the_module_that_fetches_its_name_is_told(self):
        alone = shutil.copy(PROGRAM, self.home)
        self.environment["LD_LIBRARY_PATH"] = str(PROGRAM.parent)
        result = subprocess.run([alone, "model", "--accept-licence"], check=False, **self.options())
        self.check_refused(result, f"{self.home}/vistrel_http.so")


class Cuts(FetchTest):
    def test_after_cuts_the_rest_is_fetched_and_no_more(self):
        self.hub.plan = [cut_after(0), cut_after(1000), cut_after(50_000), reset, cut_after(1), reset,
                         lambda hub, request: hub.send_file(request, most=len(CONTENT) - request.start - 1)]
        self.check_fetched(self.fetch())
        requests = self.hub.file_requests()
        self.assertEqual(len(requests), 8)
        self.assertEqual([request.start for request in requests[:4]], [None, None, 1000, 51_000])
        self.assertEqual(requests[-1].start, len(CONTENT) - 1)
        for request in requests[2:]:
            self.assertEqual(request.headers["if-range"], '"first"')

    def test_cuts_before_the_first_new_byte_lose_nothing(self):
        for name, cut in (("answer", cut_before_the_answer), ("headers", cut_in_the_headers), ("body", cut_after(0))):
            with self.subTest(name):
                shutil.rmtree(self.models, ignore_errors=True)
                self.leave_part(CONTENT[:70_000])
                self.hub.requests.clear()
                self.hub.plan = [cut]
                self.check_fetched(self.fetch())
                self.assertEqual([request.start for request in self.hub.file_requests()], [70_000, 70_000])

    def test_another_call_goes_on_after_a_refusal(self):
        self.hub.plan = [cut_after(70_000), lambda _, request: request.answer(404)]
        self.check_refused(self.fetch(), left=[f"{NAME}.part", f"{NAME}.part.origin"])
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("Going on", result.stderr)
        self.assertEqual(self.hub.file_requests()[-1].start, 70_000)

    def test_bytes_one_by_one_are_taken(self):
        def drip(hub, request):
            for byte in range(300):
                request.send(hub.content[byte:byte + 1])

        self.hub.content = CONTENT[:300]
        self.hub.plan = [lambda hub, request: (request.answer(200, ("Content-Length: 300",)), drip(hub, request))]
        self.check_fetched(self.fetch(), CONTENT[:300])

    def test_a_part_that_was_complete_needs_no_other_byte(self):
        self.leave_part(CONTENT)
        self.check_fetched(self.fetch())
        self.assertEqual(self.hub.file_requests(), [])

    def test_a_part_of_nothing_known_is_begun_anew(self):
        self.leave_part(CONTENT[:1000])
        self.part.with_name(f"{NAME}.part.origin").unlink()
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("Starting anew", result.stderr)
        self.assertIsNone(self.hub.file_requests()[0].start)

    def test_a_part_of_a_former_file_is_begun_anew(self):
        self.leave_part(OTHER[:1000], digest=hashlib.sha256(OTHER).hexdigest())
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("another by now", result.stderr)

    def test_a_part_longer_than_the_file_is_begun_anew(self):
        self.leave_part(CONTENT + b"more")
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("longer than the file", result.stderr)

    def test_a_damaged_part_is_noticed_at_the_end(self):
        self.leave_part(b"x" * 1000)
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("Fetching it anew", result.stderr)

    def test_a_full_disk_keeps_what_has_arrived(self):
        result = self.fetch(preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, 100_000)),
                            restore_signals=False)
        self.check_refused(result, f"{NAME}.part", left=[f"{NAME}.part", f"{NAME}.part.origin"])
        self.check_fetched(self.fetch())

    def test_somebody_else_fetches_the_file(self):
        self.leave_part(CONTENT[:1000])
        with open(self.part) as held:
            fcntl.flock(held, fcntl.LOCK_EX)
            self.check_refused(self.fetch(), "somebody else", left=[f"{NAME}.part", f"{NAME}.part.origin"])
        self.check_fetched(self.fetch())

    def stalled(self):
        """A call that has some bytes and waits for more."""
        def stall(hub, request):
            try:
                hub.send_file(request, most=80_000)
            except Cut:
                request.connection.recv(1)

        self.hub.plan = [stall]
        process = self.start()
        self.addCleanup(process.stderr.close)
        deadline = time.monotonic() + 30
        while not (self.part.exists() and self.part.stat().st_size == 80_000):
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.005)
        return process

    def test_an_interrupt_keeps_what_has_arrived_and_says_so(self):
        process = self.stalled()
        process.send_signal(signal.SIGINT)
        self.assertIn("the same command goes on", process.stderr.read())
        self.assertEqual(process.wait(), -signal.SIGINT)
        self.check_fetched(self.fetch())
        self.assertEqual(self.hub.file_requests()[-1].start, 80_000)

    def test_a_killed_call_holds_no_lock(self):
        process = self.stalled()
        self.check_refused(self.fetch(), "somebody else", left=[f"{NAME}.part", f"{NAME}.part.origin"])
        process.kill()
        process.wait()
        self.check_fetched(self.fetch())
        self.assertEqual(self.hub.file_requests()[-1].start, 80_000)

    def test_killed_again_and_again_it_has_the_right_bytes_in_the_end(self):
        def slowly(hub, request):
            send, request.send = request.send, lambda data: [
                (send(data[i:i + 5000]), time.sleep(0.03)) for i in range(0, len(data), 5000)]
            hub.send_file(request)

        chance = random.Random(3)
        kills = 0
        for _ in range(15):
            self.hub.plan = [slowly] * 20
            process = self.start()
            self.addCleanup(process.stderr.close)
            try:
                process.wait(chance.uniform(0.03, 0.25))
                break
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
                kills += 1
            self.assertFalse(self.file.exists() and self.file.read_bytes() != CONTENT)
        self.hub.plan = []
        self.check_fetched(self.fetch())
        self.assertGreater(kills, 5)


class Lies(FetchTest):
    def test_bytes_that_are_wrong_once_are_fetched_anew(self):
        self.hub.plan = [lambda hub, request: hub.send_file(request, OTHER)]
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("Fetching it anew", result.stderr)

    def test_bytes_that_are_wrong_twice_leave_nothing(self):
        self.hub.plan = [lambda hub, request: hub.send_file(request, OTHER)] * 2
        self.check_refused(self.fetch(), self.hub.sum, hashlib.sha256(OTHER).hexdigest(), "Nothing of it is kept")

    def test_a_length_that_is_not_the_files_is_refused_and_the_part_kept(self):
        self.hub.plan = [cut_after(70_000), lambda _, request: request.answer(
            200, ("Content-Length: 6",), b"log in")]
        self.check_refused(self.fetch(), "would send 6 bytes", "the file has 200000",
                           left=[f"{NAME}.part", f"{NAME}.part.origin"])
        self.assertEqual(self.part.stat().st_size, 70_000)

    def test_more_bytes_than_the_file_has_leave_nothing(self):
        def more(hub, request):
            request.answer(200, (), hub.content + b"and more")

        self.hub.plan = [more, more]
        self.check_refused(self.fetch(), "more than the 200000 bytes")

    def test_another_range_than_was_asked_for_is_not_taken(self):
        def shifted(hub, request):
            rest = hub.content[request.start - 7:]
            request.answer(206, (f"Content-Length: {len(rest)}", f"ETag: {hub.etag}",
                                 f"Content-Range: bytes {request.start - 7}-199999/200000"), rest)

        for name, lie in {
                "start": shifted,
                "total": lambda _, request: request.answer(206, (
                    f"Content-Range: bytes {request.start}-{request.start}/{request.start + 1}",), b"x"),
                "none": lambda hub, request: request.answer(206, (), hub.content[request.start:]),
                "words": lambda _, request: request.answer(206, ("Content-Range: some bytes",), b"x")}.items():
            with self.subTest(name):
                shutil.rmtree(self.models, ignore_errors=True)
                self.hub.requests.clear()
                self.hub.plan = [cut_after(70_000), lie]
                result = self.fetch()
                self.check_fetched(result)
                self.assertIn("another piece", result.stderr)
                self.assertEqual([request.start for request in self.hub.file_requests()], [None, 70_000, None])

    def test_a_piece_that_nobody_asked_for_is_not_taken(self):
        self.hub.plan = [lambda hub, request: request.answer(
            206, ("Content-Range: bytes 0-199999/200000",), hub.content)]
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("another piece", result.stderr)

    def test_the_whole_file_in_place_of_the_rest_is_taken(self):
        self.hub.plan = [cut_after(70_000), lambda hub, request: request.answer(
            200, (f"Content-Length: {len(CONTENT)}",), CONTENT)]
        result = self.fetch()
        self.check_fetched(result)
        self.assertIn("from its beginning", result.stderr)

    def test_a_refused_range_is_followed_by_the_whole_file(self):
        self.hub.plan = [cut_after(70_000), lambda _, request: request.answer(416, ("Content-Length: 0",))]
        result = self.fetch()
        self.check_fetched(result)
        self.assertEqual([request.start for request in self.hub.file_requests()], [None, 70_000, None])

    def test_a_changed_tag_brings_the_whole_file(self):
        def change(hub, request):
            try:
                hub.send_file(request, most=70_000)
            finally:
                hub.etag = '"second"'

        self.hub.plan = [change]
        self.check_fetched(self.fetch())

    def test_a_file_that_changes_on_the_hub_meanwhile_is_fetched_anew(self):
        def change(hub, request):
            try:
                hub.send_file(request, most=70_000)
            finally:
                hub.content, hub.etag = OTHER, '"second"'

        self.hub.plan = [change]
        result = self.fetch()
        self.check_fetched(result, OTHER)
        self.assertIn("has just changed", result.stderr)

    def test_a_busy_server_is_asked_again_when_it_wants(self):
        self.hub.plan = [lambda _, request: request.answer(429, ("Retry-After: 1", "Content-Length: 0")),
                         cut_after(1000)]
        start = time.monotonic()
        result = self.fetch()
        self.check_fetched(result)
        self.assertGreater(time.monotonic() - start, 1)
        self.assertIn("status 429. Trying again in 1 s.", result.stderr)


class OtherServers(FetchTest):
    """Which tell nothing that the content could be compared with."""

    def setUp(self):
        super().setUp()
        self.address = self.hub.file_address.replace("/file", "/net.onnx?download=true")
        self.file, self.part = self.models / "net.onnx", self.models / "net.onnx.part"

    def other_fetch(self):
        return self.fetch("--url", self.address)

    def test_the_size_counts_alone_and_that_is_told(self):
        result = self.other_fetch()
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.left(), ["net.onnx", "net.onnx.sha256"])
        self.assertIn("nobody can tell", result.stderr)
        self.assertEqual(json.loads(self.settings.read_text())["modelPath"], str(self.file))

    def test_a_strong_tag_is_enough_to_go_on(self):
        self.hub.plan = [Hub.send_file, cut_after(70_000)]
        self.assertEqual(self.other_fetch().returncode, 0)
        self.assertEqual(self.file.read_bytes(), CONTENT)
        self.assertEqual(self.hub.requests[-1].start, 70_000)

    def test_without_a_strong_tag_it_is_begun_anew(self):
        self.hub.etag = 'W/"first"'
        self.hub.plan = [Hub.send_file, cut_after(70_000)]
        self.assertEqual(self.other_fetch().returncode, 0)
        self.assertEqual(self.file.read_bytes(), CONTENT)
        self.assertIsNone(self.hub.requests[-1].start)

    def test_another_tag_is_another_file(self):
        self.hub.plan = [Hub.send_file, cut_after(70_000), lambda hub, request: request.answer(
            206, ('ETag: "second"', "Content-Range: bytes 70000-199999/200000"), OTHER[70_000:])]
        result = self.other_fetch()
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.file.read_bytes(), CONTENT)

    def test_no_token_is_told_to_them(self):
        self.environment["HF_TOKEN"] = "hf_secret"
        self.assertEqual(self.other_fetch().returncode, 0)
        self.assertEqual([request.headers.get("authorization") for request in self.hub.requests], [None, None])

    def test_what_is_no_address_is_refused(self):
        self.check_refused(self.fetch("--url", "ftp://host/net.onnx"), "no address of the web")
        self.environment["HF_ENDPOINT"] = "hub"
        self.check_refused(self.fetch(), "HF_ENDPOINT")

    def test_a_token_that_is_none_is_refused(self):
        self.environment["HF_TOKEN"] = "hf\r\nX: y"
        self.check_refused(self.fetch(), "HF_TOKEN")


class Check(FetchTest):
    def check(self, expected, text, file=None):
        result = self.run_program("--check", file or self.file)
        self.assertEqual(result.returncode, expected, result.stderr)
        self.assertIn(text, result.stderr)
        return result

    def setUp(self):
        super().setUp()
        self.models.mkdir(parents=True)
        self.file.write_bytes(CONTENT)

    def test_a_whole_file(self):
        self.check(0, f"{self.file}: whole")
        self.assertEqual(self.hub.file_requests(), [])

    def test_files_that_are_not_whole(self):
        for content, text in ((CONTENT[:-1], "too short: 199999 of 200000 bytes"), (b"", "0 of 200000"),
                              (CONTENT + b"x", "too long: 200001 of"), (OTHER, "other content")):
            with self.subTest(text):
                self.file.write_bytes(content)
                self.check(1, text)

    def test_a_part(self):
        self.leave_part(CONTENT[:1000])
        self.check(1, "1000 of 200000 bytes", self.part)

    def test_without_the_hub_what_was_noted_counts(self):
        self.fetch()
        self.hub.close()
        self.check(0, "whole")
        self.file.write_bytes(OTHER)
        self.check(1, "other content")

    def test_without_hub_and_note_nobody_can_tell(self):
        self.hub.close()
        self.check(1, "nobody can tell")

    def test_no_file(self):
        self.check(1, "no such file", self.models / "missing")


class Licence(FetchTest):
    def test_where_nobody_can_be_asked_it_is_wrong_usage(self):
        result = self.run_program("model")
        self.assertEqual(result.returncode, 2)
        self.assertIn("research use only", result.stderr)
        self.assertIn("--accept-licence", result.stderr)
        self.assertEqual((self.left(), self.hub.requests), ([], []))

    def answered(self, answer):
        terminal, other = pty.openpty()
        os.write(terminal, answer)
        try:
            return self.run_program("model", stdin=other)
        finally:
            os.close(terminal)
            os.close(other)

    def test_yes_fetches(self):
        self.check_fetched(self.answered(b"y\n"))

    def test_anything_else_does_not(self):
        for answer in (b"n\n", b"\n", b"\x04"):
            result = self.answered(answer)
            self.assertEqual((result.returncode, self.left()), (1, []))


if __name__ == "__main__":
    unittest.main(verbosity=2)
