#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""scripts/fetch_packages.js with a registry on this machine."""

import base64
import hashlib
import http.server
import io
import json
import os
import shutil
import ssl
import subprocess
import tarfile
import tempfile
import threading
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]


def archive(files, top="package"):
    """A package's archive: names and texts; what ends with * may be executed."""
    buffer = io.BytesIO()
    with tarfile.open(fileobj=buffer, mode="w:gz") as tar:
        for name, text in files.items():
            entry = tarfile.TarInfo(f"{top}/{name.rstrip('*')}")
            entry.size = len(text)
            entry.mode = 0o755 if name.endswith("*") else 0o644
            tar.addfile(entry, io.BytesIO(text.encode()))
    return buffer.getvalue()


class Registry(http.server.ThreadingHTTPServer):
    def __init__(self):
        super().__init__(("127.0.0.1", 0), Answer)
        self.files, self.cut, self.asked = {}, set(), []
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def address(self, path="", scheme="http"):
        return f"{scheme}://127.0.0.1:{self.server_port}{path}/"


class Answer(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.server.asked.append((self.path, self.headers.get("Authorization")))
        body = self.server.files.get(self.path)
        if body is None:
            self.send_error(404)
            return
        self.send_response(200)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body[:len(body) // 2] if self.path in self.server.cut else body)

    def log_message(self, *_):
        pass


class FetchPackages(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="vistrel packages ")
        self.addCleanup(temporary.cleanup)
        self.root, self.home = Path(temporary.name) / "tree", Path(temporary.name) / "home"
        (self.root / "scripts").mkdir(parents=True)
        self.home.mkdir()
        shutil.copy(SOURCE / "scripts/fetch_packages.js", self.root / "scripts")
        shutil.copy(SOURCE / "package.json", self.root)  # says that the script is a module
        self.registry = self.start_registry()
        self.packages = {"": {"name": "vistrel"}}
        self.environment = {name: value for name, value in os.environ.items()
                            if not name.lower().startswith("npm_config_") and not name.lower().endswith("_proxy")}
        self.environment |= {"HOME": str(self.home), "npm_config_globalconfig": str(self.home / "none")}
        self.environment["npm_config_registry"] = self.registry.address()
        (self.root / "node_modules").mkdir()
        (self.root / "node_modules/former").touch()

    def start_registry(self):
        registry = Registry()
        self.addCleanup(registry.server_close)
        self.addCleanup(registry.shutdown)
        return registry

    def add(self, name, files, path="", place=None, top="package", **more):
        """To the lock file and to the registry; returns the address on it."""
        body = archive(files, top)
        url = f"{path}/{name}/-/{name.split('/')[-1]}-1.2.3.tgz"
        self.registry.files[url] = body
        integrity = "sha512-" + base64.b64encode(hashlib.sha512(body).digest()).decode()
        self.packages[place or f"node_modules/{name}"] = {"version": "1.2.3", "integrity": integrity} | more
        return url

    def fetch(self, status=0):
        (self.root / "package-lock.json").write_text(json.dumps({"packages": self.packages}))
        done = subprocess.run([self.root / "scripts/fetch_packages.js"], env=self.environment, text=True,
                              capture_output=True, timeout=120)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        left = sorted(path.name for path in self.root.iterdir() if path.name != "build")
        self.assertEqual([name for name in left if not name.startswith(".")],
                         ["node_modules", "package-lock.json", "package.json", "scripts"])
        self.assertEqual(list((self.root / "build").glob("*")), [])
        return done.stderr

    def fetched(self):
        folder = self.root / "node_modules"
        return {str(path.relative_to(folder)): path.read_text() for path in folder.rglob("*") if path.is_file()}

    # What is fetched

    def test_packages_are_unpacked_and_replace_the_former_ones(self):
        self.add("plain", {"index.js": "plain", "bin/tool*": "#!"})
        self.add("@types/node", {"a/b.d.ts": "types"}, top="node")
        self.add("inner", {"index.js": "inner"}, place="node_modules/plain/node_modules/inner")
        self.fetch()
        self.assertEqual(self.fetched(), {"plain/index.js": "plain", "plain/bin/tool": "#!",
                                          "@types/node/a/b.d.ts": "types",
                                          "plain/node_modules/inner/index.js": "inner"})
        self.assertTrue(os.access(self.root / "node_modules/plain/bin/tool", os.X_OK))
        self.assertFalse(os.access(self.root / "node_modules/plain/index.js", os.X_OK))

    def test_packages_of_other_machines_are_left_out(self):
        self.add("mine", {"a": ""}, os=["linux"], cpu=["x64", "arm64"], libc=["glibc"])
        self.add("not-windows", {"a": ""}, os=["!win32"])
        for name, more in (("system", {"os": ["win32"]}), ("cpu", {"cpu": ["s390x"]}), ("libc", {"libc": ["musl"]}),
                           ("not-linux", {"os": ["!linux"]})):
            self.add(name, {"a": ""}, optional=True, **more)
        self.fetch()
        self.assertEqual(set(self.fetched()), {"mine/a", "not-windows/a"})

    def test_a_package_can_take_the_place_of_another(self):
        self.add("@types/small", {"index.js": "small"}, place="node_modules/large")
        self.packages["node_modules/large"]["name"] = "@types/small"
        self.fetch()
        self.assertEqual(self.fetched(), {"large/index.js": "small"})

    # What goes wrong

    def check_refused(self, message):
        told = self.fetch(status=1)
        self.assertRegex(told, rf"^Error: {message}")
        self.assertEqual(told.count("\n"), 1, told)
        self.assertEqual(set(self.fetched()), {"former"})

    def test_an_archive_with_another_hash_is_refused(self):
        url = self.add("good", {"a": ""})
        self.registry.files[url] = archive({"a": "evil"})
        self.check_refused(".*good-1.2.3.tgz is not what package-lock.json says: its SHA-512 differs")

    def test_an_archive_that_is_not_there_is_told(self):
        del self.registry.files[self.add("gone", {"a": ""})]
        self.check_refused(".*gone-1.2.3.tgz could not be fetched: curl: .*404")

    def test_an_archive_that_is_cut_is_told(self):
        self.registry.cut.add(self.add("half", {"a": "a" * 1000}))
        self.check_refused(".*half-1.2.3.tgz could not be fetched: curl: ")

    def test_a_registry_that_nobody_answers_for_is_told(self):
        self.add("good", {"a": ""})
        self.environment["npm_config_registry"] = "http://127.0.0.1:1/"
        self.check_refused("http://127.0.0.1:1/good/-/good-1.2.3.tgz could not be fetched: curl: ")

    def test_a_package_without_a_hash_is_refused(self):
        self.add("good", {"a": ""})
        self.packages["node_modules/good"]["integrity"] = "sha1-abc="
        self.check_refused("package-lock.json has no SHA-512 of good")

    # Where it comes from

    def test_the_files_of_npm_name_the_registry_and_the_nearest_wins(self):
        del self.environment["npm_config_registry"]
        files = [self.root / ".npmrc", self.home / ".npmrc", self.home / "none"]
        for i, file in enumerate(reversed(files)):
            self.add("good", {"a": str(i)}, path=f"/{i}")
            self.environment["MIRROR"] = f"{self.registry.address()}"
            file.write_text(f'; a comment\nregistry = "${{MIRROR}}{i}"\naudit=false\n')
            self.fetch()
            self.assertEqual(self.fetched(), {"good/a": str(i)})

    def test_a_proxy_is_asked_and_null_is_none(self):
        self.add("good", {"a": "by proxy"}, path="http://registry.invalid")
        self.environment["npm_config_registry"] = "http://registry.invalid/"
        (self.home / ".npmrc").write_text(f"https-proxy={self.registry.address()}\n")
        self.fetch()
        self.assertEqual(self.fetched(), {"good/a": "by proxy"})
        self.environment["npm_config_registry"] = self.registry.address()
        self.add("good", {"a": "directly"})
        (self.home / ".npmrc").write_text("https-proxy=null\nproxy=\n")
        self.fetch()
        self.assertEqual(self.fetched(), {"good/a": "directly"})

    def test_a_scope_has_a_registry_of_its_own(self):
        self.add("plain", {"a": "plain"})
        self.add("@mine/one", {"a": "mine"}, path="/mine")
        (self.home / ".npmrc").write_text(f"@mine:registry={self.registry.address('/mine')}\n")
        self.fetch()
        self.assertEqual(self.fetched(), {"plain/a": "plain", "@mine/one/a": "mine"})

    def test_a_token_goes_to_its_registry_and_to_no_other(self):
        self.add("plain", {"a": ""})
        secret = self.add("@mine/one", {"a": ""}, path="/mine")
        address = self.registry.address("/mine")
        (self.home / ".npmrc").write_text(f"@mine:registry={address}\n"
                                          f"{address.removeprefix('http:')}:_authToken=secret\n")
        self.fetch()
        self.assertEqual({path: token for path, token in self.registry.asked if token},
                         {secret: "Bearer secret"})

    def test_certificates_that_were_added_for_node_count(self):
        certificate, key = self.home / "certificate.pem", self.home / "key.pem"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=here",
                        "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate],
                       check=True, capture_output=True)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(certificate, key)
        self.registry.socket = context.wrap_socket(self.registry.socket, server_side=True)
        self.add("good", {"a": "safe"})
        self.environment["npm_config_registry"] = self.registry.address(scheme="https")
        self.check_refused(".* could not be fetched: curl: .*certificate")
        self.environment["NODE_EXTRA_CA_CERTS"] = str(certificate)
        self.fetch()
        self.assertEqual(self.fetched(), {"good/a": "safe"})

    def test_no_registry_that_anybody_names_is_told(self):
        self.add("one", {"index.js": "1"})
        del self.environment["npm_config_registry"]
        self.assertEqual(self.fetch(status=1),
                         "Error: no registry is named, neither by a setting nor by the caller\n")
        self.assertEqual(self.fetched(), {"former": ""})


if __name__ == "__main__":
    unittest.main(verbosity=2)
