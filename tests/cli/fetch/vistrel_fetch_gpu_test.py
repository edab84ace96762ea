#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-fetch gpu with packages of stand-ins: what is in the user's folder afterwards, and what is told.

Usage: vistrel_fetch_gpu_test.py FOLDER-OF-STAND-INS [unittest arguments].
"""

import fcntl
import gzip
import hashlib
import http.server
import io
import os
import resource
import shutil
import subprocess
import sys
import tarfile
import tempfile
import threading
import unittest
import zipfile
from pathlib import Path

PROGRAM = Path(os.environ["VISTREL_BIN"]) / "vistrel-fetch"
RUNTIMES = Path()  # set by main()

LIBRARY = "libonnxruntime.so.1"
SHARED = "libonnxruntime_providers_shared.so"
CUDA = "libonnxruntime_providers_cuda.so"
FILES = (LIBRARY, SHARED, CUDA)
TESTED = "onnxruntime-linux-x64-gpu-1.22.0.tgz"
TESTED_SUM = "2a19dbfa403672ec27378c3d40a68f793ac7a6327712cd0e8240a86be2b10c55"
HAS_DRIVER = Path("/proc/driver/nvidia/version").exists()


def libraries(kind="cuda"):
    """The bytes of a package's files, with a runtime of that kind."""
    return {LIBRARY: (RUNTIMES / kind / LIBRARY).read_bytes(),
            **{name: (RUNTIMES / "cuda" / name).read_bytes() for name in (SHARED, CUDA)}}


def tgz(members):
    """Of pairs of a name and bytes, or the target of a link."""
    packed = io.BytesIO()
    with tarfile.open(fileobj=packed, mode="w:gz", compresslevel=1) as archive:
        for name, content in members:
            info = tarfile.TarInfo(name)
            if isinstance(content, str):
                info.type, info.linkname = tarfile.SYMTYPE, content
                archive.addfile(info)
            else:
                info.size = len(content)
                archive.addfile(info, io.BytesIO(content))
    return packed.getvalue()


def zipped(members):
    packed = io.BytesIO()
    with zipfile.ZipFile(packed, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in members:
            archive.writestr(name, content)
    return packed.getvalue()


def release(files, folder="onnxruntime-linux-x64-gpu-1.22.0"):
    """The members of a package as its makers lay it out."""
    return [(f"{folder}/VERSION_NUMBER", b"1.22.0\n"),
            (f"{folder}/lib/libonnxruntime.so", "libonnxruntime.so.1"),
            (f"{folder}/lib/libonnxruntime.so.1", "libonnxruntime.so.1.22.0"),
            (f"{folder}/lib/libonnxruntime.so.1.22.0", files[LIBRARY]),
            (f"{folder}/lib/{CUDA}", files[CUDA]),
            (f"{folder}/lib/{SHARED}", files[SHARED])]


class GpuTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.data = self.folder / "data" / "Vistrel"
        self.runtime = self.data / "Runtime"

    @property
    def environment(self):
        own = {"HOME": str(self.folder), "XDG_DATA_HOME": str(self.folder / "data")}
        return {**{name: os.environ[name] for name in os.environ if name != "LD_LIBRARY_PATH"}, **own}

    def run_it(self, *words, libraries_in=None, **how):
        environment = self.environment
        if libraries_in:
            environment["LD_LIBRARY_PATH"] = str(libraries_in)
        return subprocess.run([PROGRAM, "gpu", *words], env=environment, capture_output=True, text=True,
                              timeout=120, check=False, **how)

    def package(self, content, name="package.tgz"):
        path = self.folder / name
        path.write_bytes(content)
        return path

    def check_installed(self, files, others=()):
        self.assertEqual({path.name for path in self.runtime.iterdir()}, {*FILES, *others})
        for name in FILES:
            self.assertEqual((self.runtime / name).read_bytes(), files[name], name)
        self.assertEqual([path.name for path in self.data.iterdir()], ["Runtime"])

    def check_install(self, content, name="package.tgz"):
        """The program is content as far as it goes: there is no driver, and libraries are missing."""
        done = self.run_it("--from", self.package(content, name))
        self.assertEqual(done.returncode, 1, done.stderr)
        self.check_installed(libraries())
        self.assertIn(f"ONNX Runtime 1.22.0 is in {self.runtime}.", done.stderr)
        self.assertIn(f"ONNX Runtime 1.22.0: {self.runtime / LIBRARY}, with CUDA\n", done.stdout)
        return done

    def put_former(self):
        self.runtime.mkdir(parents=True, exist_ok=True)
        for name in FILES:
            (self.runtime / name).write_bytes(b"former")

    def check_refused(self, package, *told, **how):
        """The former runtime stays, and nothing else is there."""
        shutil.rmtree(self.data, ignore_errors=True)
        self.put_former()
        done = self.run_it("--from", package, **how)
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertTrue(done.stderr.splitlines()[-1].startswith("Error: "), done.stderr)
        for words in told:
            self.assertIn(words, done.stderr)
        self.check_installed(dict.fromkeys(FILES, b"former"))


class PackageTest(GpuTest):
    def test_archive_of_a_release_is_taken(self):
        done = self.check_install(tgz(release(libraries())))
        self.assertIn(f"package.tgz holds ONNX Runtime 1.22.0, which was not tested; {TESTED} was.", done.stderr)

    def test_package_for_python_is_taken(self):
        files = libraries()
        self.check_install(zipped([("onnxruntime/__init__.py", b"import os\n"),
                                   ("onnxruntime/capi/libonnxruntime.so.1.22.0", files[LIBRARY]),
                                   *((f"onnxruntime/capi/{name}", files[name]) for name in (SHARED, CUDA))]),
                           "onnxruntime_gpu.whl")

    def test_package_for_dotnet_is_taken(self):
        files = libraries()
        native = "runtimes/linux-x64/native"
        self.check_install(zipped([(f"{native}/libonnxruntime.so", files[LIBRARY]),
                                   *((f"{native}/{name}", files[name]) for name in (SHARED, CUDA))]),
                           "onnxruntime.nupkg")

    def test_unpacked_release_is_taken(self):
        for below in ("", "lib"):
            with self.subTest(below=below):
                shutil.rmtree(self.data, ignore_errors=True)
                folder = self.folder / f"unpacked{below}"
                (folder / below).mkdir(parents=True)
                for name, content in libraries().items():
                    (folder / below / name).write_bytes(content)
                done = self.run_it("--from", folder)
                self.assertEqual(done.returncode, 1, done.stderr)
                self.check_installed(libraries())

    def test_names_in_a_package_lead_nowhere(self):
        files = libraries()
        self.check_install(tgz([("../../../outside/libonnxruntime.so.1.22.0", files[LIBRARY]),
                                (f"{self.folder}/absolute/{SHARED}", files[SHARED]),
                                (f"../{CUDA}", files[CUDA]), ("../evil.txt", b"evil")]))
        self.assertEqual({path.name for path in self.folder.iterdir()}, {"data", "package.tgz"})

    def test_former_runtime_makes_room_and_other_files_stay(self):
        self.put_former()
        (self.runtime / "libonnxruntime_providers_tensorrt.so").write_bytes(b"former")
        (self.runtime / "libcufft.so.11").write_bytes(b"the user's")
        self.run_it("--from", self.package(tgz(release(libraries()))))
        self.check_installed(libraries(), ["libcufft.so.11"])

    def test_link_makes_room_and_its_target_stays(self):
        target = self.folder / "mine"
        target.mkdir()
        (target / LIBRARY).write_bytes(b"mine")
        self.data.mkdir(parents=True)
        self.runtime.symlink_to(target)
        self.run_it("--from", self.package(tgz(release(libraries()))))
        self.check_installed(libraries())
        self.assertEqual([path.name for path in target.iterdir()], [LIBRARY])

    def test_what_a_killed_one_has_left_is_gone(self):
        (self.data / "Runtime.new").mkdir(parents=True)
        (self.data / "Runtime.new" / "left").write_bytes(b"left")
        self.check_install(tgz(release(libraries())))


    def test_killed_at_any_moment_it_leaves_the_former_or_the_new_one(self):
        files = libraries()
        package = self.package(tgz(release(files)))
        former = dict.fromkeys(FILES, b"former")
        for moment in range(15):
            self.put_former()
            process = subprocess.Popen([PROGRAM, "gpu", "--from", package], env=self.environment,
                                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            try:
                process.wait(timeout=moment / 250)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
            found = {name: (self.runtime / name).read_bytes() for name in FILES}
            self.assertIn(found, (former, files))
        self.run_it("--from", package)
        self.check_installed(files)


class RefusalTest(GpuTest):
    def test_cut_archive(self):
        for pack, name in ((tgz, "a.tgz"), (zipped, "a.whl")):
            members = [member for member in release(libraries()) if isinstance(member[1], bytes)]
            whole = pack(members)
            for size in (0, 1, 100, len(whole) // 2, len(whole) * 3 // 4):
                with self.subTest(name=name, size=size):
                    self.check_refused(self.package(whole[:size], name), name)

    def test_archive_with_a_wrong_byte(self):
        whole = bytearray(tgz(release(libraries())))
        whole[-6] ^= 1  # of the checksum
        self.check_refused(self.package(whole), "package.tgz")

    def test_package_for_python_with_a_wrong_byte(self):
        members = [member for member in release(libraries()) if isinstance(member[1], bytes)]
        whole = bytearray(zipped(members))
        whole[whole.index(b"lib/libonnxruntime.so.1.22.0") + 2000] ^= 1
        self.check_refused(self.package(whole, "a.whl"), "a.whl")

    def test_tested_package_with_another_checksum(self):
        content = tgz(release(libraries()))
        self.check_refused(self.package(content, TESTED), TESTED, hashlib.sha256(content).hexdigest(), TESTED_SUM)

    def test_package_without_the_provider(self):
        members = [member for member in release(libraries()) if CUDA not in member[0]]
        self.check_refused(self.package(tgz(members)), f"package.tgz: It holds no {CUDA}.")

    def test_ruinous_version(self):
        self.check_refused(self.package(tgz(release(libraries("ruinous")))), "ONNX Runtime 1.29.0", "use 1.22")

    def test_half_a_library(self):
        files = libraries()
        files[CUDA] = files[CUDA][:-100]
        self.check_refused(self.package(tgz(release(files))), f"{CUDA}: It is broken")

    def test_more_than_anybody_publishes(self):
        header = tarfile.TarInfo("lib/huge")
        header.size = 1 << 40
        self.check_refused(self.package(gzip.compress(header.tobuf(tarfile.GNU_FORMAT), 1)), "more than any package")

    def test_disk_that_takes_no_more(self):
        limit = len(libraries()[LIBRARY]) // 2
        self.check_refused(self.package(tgz(release(libraries()))), "File too large",
                           preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))

    def test_another_one_at_work(self):
        self.data.mkdir(parents=True)
        package = self.package(tgz(release(libraries())))
        other = os.open(self.data, os.O_RDONLY)
        fcntl.flock(other, fcntl.LOCK_EX)
        done = self.run_it("--from", package)
        os.close(other)
        self.assertEqual((done.returncode, done.stderr), (1, "Error: Another vistrel-fetch gpu is at work.\n"))
        self.assertFalse(self.runtime.exists())

    def test_wrong_usage(self):
        package = self.package(b"")
        for words in (["--from", self.folder / "none"], ["--check", "--from", package], ["--cuda", "11"],
                      ["--from", package, "--url", "http://localhost/"]):
            with self.subTest(words=words):
                self.assertEqual(self.run_it(*words).returncode, 2)


class DownloadTest(GpuTest):
    def serve(self, content, status=200):
        """The address of a server that has nothing else."""
        class Answer(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                self.send_response(status)
                self.send_header("Content-Length", str(len(content)))
                self.end_headers()
                self.wfile.write(content)

            def log_message(self, *_):
                pass

        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Answer)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        return f"http://127.0.0.1:{server.server_port}/{TESTED}"

    def test_package_other_than_the_published_one_is_refused(self):
        self.put_former()
        done = self.run_it("--url", self.serve(tgz(release(libraries()))))
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertIn(TESTED_SUM, done.stderr)
        self.check_installed(dict.fromkeys(FILES, b"former"))

    def test_package_that_was_fetched_before_is_not_fetched_again(self):
        self.runtime.mkdir(parents=True)
        for name, content in libraries().items():
            (self.runtime / name).write_bytes(content)
        (self.runtime / "libonnxruntime.sha256").write_text(TESTED_SUM)
        url = self.serve(b"none", status=404)
        self.assertIn("ONNX Runtime 1.22.0 is there already.\n", self.run_it("--url", url).stderr)
        (self.runtime / CUDA).write_bytes(b"broken")
        self.assertIn("404", self.run_it("--url", url).stderr)

    def test_server_without_the_package_is_told(self):
        done = self.run_it("--url", self.serve(b"none", status=404))
        self.assertEqual(done.returncode, 1)
        self.assertIn("404", done.stderr.splitlines()[-1])
        self.assertFalse(self.runtime.exists())


class CheckTest(GpuTest):
    def put_stand_in(self):
        self.runtime.mkdir(parents=True)
        for name, content in libraries().items():
            (self.runtime / name).write_bytes(content)

    def test_without_a_runtime_of_the_user_s_the_program_s_is_looked_at(self):
        done = self.run_it("--check")
        self.assertEqual(done.returncode, 1)
        own = PROGRAM.resolve().parent
        self.assertIn(f": {own / LIBRARY}, with", done.stdout.splitlines()[0])
        self.assertIn("vistrel-fetch gpu brings", done.stdout)
        for library in ("libcublasLt.so.12", "libcudart.so.12", "libcufft.so.11", "libcurand.so.10"):
            self.assertIn(f"\n{library}: ", done.stdout)
        self.assertFalse(self.data.exists())

    def test_missing_libraries_are_named_with_their_packages(self):
        self.put_stand_in()
        found = self.folder / "found"
        found.mkdir()
        for name in ("libcublas.so.12", "libcuda.so.1"):
            shutil.copy(RUNTIMES / "nvidia" / name, found)
        done = self.run_it("--check", libraries_in=found)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stdout.splitlines()[:7], [
            f"ONNX Runtime 1.22.0: {self.runtime / LIBRARY}, with CUDA",
            f"{SHARED}: {self.runtime / SHARED}",
            f"{CUDA}: {self.runtime / CUDA}",
            f"libcublas.so.12: {found}/libcublas.so.12",
            "libcudnn_vistrel.so.9: missing, the package libcudnn9-cuda-12 brings it",
            "libvistrel_none.so.7: missing",
            f"libcuda.so.1: {found}/libcuda.so.1"])
        self.assertIn(f"\n{2 if HAS_DRIVER else 3} things are missing.\n", done.stdout)
        self.assertRegex(done.stdout, "sudo apt install .*libcudnn9-cuda-12")

    def test_library_that_cannot_be_opened_is_told(self):
        self.put_stand_in()
        (self.runtime / "libcublas.so.12").write_bytes(b"text")
        done = self.run_it("--check")
        self.assertIn("libcublas.so.12: cannot be opened (", done.stdout)

    def test_missing_provider_is_told(self):
        self.put_stand_in()
        (self.runtime / CUDA).unlink()
        done = self.run_it("--check")
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"{self.runtime / CUDA}: missing, vistrel-fetch gpu brings it\n", done.stdout)

    def test_runtime_that_cannot_be_used_is_told(self):
        self.put_stand_in()
        for content, reason in ((b"text", "It "), ((RUNTIMES / "cuda" / LIBRARY).read_bytes()[:-64], "It is broken"),
                                ((RUNTIMES / "ruinous" / LIBRARY).read_bytes(), "ONNX Runtime 1.29.0 "),
                                ((RUNTIMES / "other" / LIBRARY).read_bytes(), "ONNX Runtime cannot be opened")):
            with self.subTest(reason=reason):
                (self.runtime / LIBRARY).unlink()
                (self.runtime / LIBRARY).write_bytes(content)
                done = self.run_it("--check")
                self.assertEqual(done.returncode, 1)
                self.assertTrue(done.stdout.startswith(f"{self.runtime / LIBRARY}: {reason}"), done.stdout)


if __name__ == "__main__":
    RUNTIMES = Path(sys.argv[1])
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
