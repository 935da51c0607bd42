"""Inputs on a server: nginx on the loopback address, with ranges, refusals, dropped connections and errors.

    NetworkFileTest.py      PANSHARP_COMMAND: the command
"""
import http.server
import json
import os
import pathlib
import random
import re
import shutil
import socket
import subprocess
import tarfile
import tempfile
import threading
import time
import unittest

nginx = shutil.which("nginx", path=os.environ["PATH"] + ":/usr/sbin")
if not nginx or not shutil.which("gdal_translate"):
    raise SystemExit("SKIPPED: nginx or gdal_translate is missing (scripts/setup --network installs them)")

# Beyond the first bytes, which contain the header, a location may fail always or now and then.
configuration = """user root; daemon off; pid pid; error_log error.log; worker_processes 1;
events {}
http {
    log_format x '$connection "$request" $status $body_bytes_sent'; access_log access.log x; root .; sendfile on;
    client_body_temp_path t; proxy_temp_path t; fastcgi_temp_path t; uwsgi_temp_path t; scgi_temp_path t;
    split_clients $request_id $seldom { 10% 1; * 0; }
    map $http_range $beyond { default 1; "" 0; ~^bytes=0- 0; }
    server {
        listen 127.0.0.1:PORT;
        location /good/ { alias data/; limit_rate 2m; }
        location /listed/ { alias data/; autoindex on; }
        location /seldom/ { alias data/; if ($seldom) { return 503; } }
        location /errors/ { alias data/; if ($beyond) { return 503; } }
        location /drops/ { alias data/; if ($beyond) { return 444; } }
    }
}
"""


class Storage(http.server.BaseHTTPRequestHandler):
    """Buckets of objects: those in 'denied' cannot be read, and 'unsure' does not tell what it has. All are busy at the first request."""
    protocol_version, objects, asked = "HTTP/1.1", {}, set()

    def answer(self, code, body=b""):
        self.send_response(code)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        if self.path.startswith("/denied"):
            return self.answer(403, b"<Error><Code>AccessDenied</Code><Message>no</Message></Error>")
        body, is_busy = self.objects.get(self.path), self.path not in self.asked
        self.asked.add(self.path)
        self.answer(503 if is_busy or self.path.startswith("/unsure") else 404 if body is None else 200, body or b"")

    def do_PUT(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        if self.path.startswith("/denied"):
            return self.do_GET()
        self.objects[self.path] = body
        self.answer(200)

    def do_DELETE(self):
        if self.objects.get(self.path) == b"locked":
            return self.answer(403)
        self.objects.pop(self.path, None)
        self.answer(204)

    def log_message(self, *_):
        pass


def write_pair(name, size, bands, pixel):
    """A COG, and in 'w_' + name a TIFF whose position comes from a file beside it, two pixels to the east."""
    pathlib.Path("raw").write_bytes(random.Random(size).randbytes(size * size * bands))
    pathlib.Path("raw.hdr").write_text(f"ENVI\nsamples = {size}\nlines = {size}\nbands = {bands}\ndata type = 1\ninterleave = bsq\n")
    for west, target, options in [(500000, name, ["-of", "COG", "-co", "BLOCKSIZE=128", "-a_srs", "EPSG:32631"]),
                                  (500000 + 2 * pixel, "w_" + name, ["--config", "GDAL_PAM_ENABLED", "NO", "-co", "PROFILE=BASELINE", "-co", "TFW=YES"])]:
        corners = [str(number) for number in (west, 4600000, west + size * pixel, 4600000 - size * pixel)]
        subprocess.run(["gdal_translate", "-q", *options, "-a_ullr", *corners, "raw", "data/" + target], check=True)


class NetworkFile(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chdir(folder.name)
        os.mkdir("data")
        write_pair("x_pan.tif", 512, 1, 10)
        write_pair("x_rgb.tif", 256, 3, 20)
        with tarfile.open("data/x.tar", "w") as archive:
            for name in ("x_pan.tif", "x_rgb.tif"):
                archive.add("data/" + name, "x/" + name)
        bands = [{"name": name, "common_name": name} for name in ("red", "green", "blue")]
        assets = {"pan": {"href": "x_pan.tif", "eo:bands": [{"name": "pan", "common_name": "pan"}]},
                  "ms": {"href": "./x_rgb.tif", "eo:bands": bands}}
        pathlib.Path("data/item.json").write_text(json.dumps(
            {"type": "Feature", "stac_version": "1.0.0", "id": "x", "properties": {}, "assets": assets}))
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            port = free.getsockname()[1]
        self.server = f"http://127.0.0.1:{port}"
        pathlib.Path("nginx.conf").write_text(configuration.replace("PORT", str(port)))
        running = subprocess.Popen([nginx, "-p", folder.name, "-c", folder.name + "/nginx.conf"], stderr=subprocess.DEVNULL)
        self.addCleanup(running.wait)
        self.addCleanup(running.terminate)
        for _ in range(500):
            try:
                return socket.create_connection(("127.0.0.1", port)).close()
            except ConnectionRefusedError:
                time.sleep(0.01)

    def sharpen(self, *inputs, output, **environment):
        return subprocess.run([os.environ["PANSHARP_COMMAND"], "sharpen", *inputs, "-o", output], capture_output=True, text=True,
                              env=os.environ | environment)

    def test_gives_what_files_give(self):
        for name in ("x", "w_x"):
            self.assertEqual(self.sharpen(f"data/{name}_pan.tif", f"data/{name}_rgb.tif", output=name + ".tif").returncode, 0)
        for number, inputs in enumerate([["/good/x_pan.tif", "/good/x_rgb.tif"], ["/good/x_pan.tif", "/good/x_rgb.tif,band=1",
                                         "/good/x_rgb.tif,band=2", "/good/x_rgb.tif,band=3"], ["/seldom/x_pan.tif", "/seldom/x_rgb.tif"],
                                         ["/good/item.json"], ["/listed/"], ["/vsitar//vsicurl/SERVER/good/x.tar/x/x_pan.tif",
                                                               "/vsitar//vsicurl/SERVER/good/x.tar/x/x_rgb.tif"],
                                         ["/good/x_pan.tif?sig=a", "/good/x_rgb.tif?sig=a"], ["/good/w_x_pan.tif", "/good/w_x_rgb.tif"]]):
            names = [name.replace("SERVER", self.server) if "SERVER" in name else self.server + name for name in inputs]
            run = self.sharpen(*names, output=f"{number}.tif", GDAL_HTTP_RETRY_DELAY="0.01",
                               CPL_VSIL_CURL_CHUNK_SIZE="99999999999999" if "item" in names[0] else "16384",
                               CPL_VSIL_CURL_CACHE_SIZE="35000" if "seldom" in names[0] else "")  # less than a row of blocks
            self.assertEqual(run.returncode, 0, run.stderr)
            raster = [subprocess.run(["gdalinfo", "-checksum", "-nomd", name], capture_output=True, text=True, check=True).stdout
                      for name in ("w_x.tif" if "/w_x" in names[0] else "x.tif", f"{number}.tif")]
            self.assertEqual(*(re.findall("Checksum=.*|Origin.*", text) for text in raster), inputs)
            if number == 0:  # files that might lie beside a TIFF are not requested
                log = pathlib.Path("access.log").read_text()
                self.assertLess(log.count(" 404 "), 9)
                # What is read ahead is read only once, for fits as for windows.
                sent = sum(int(size) for size in re.findall(r" 206 (\d+) ", log))
                self.assertLess(sent, 1.2 * sum(file.stat().st_size for file in pathlib.Path("data").glob("x*.tif")))
        # What is held of files and archives on a server counts.
        memory = [json.loads(subprocess.run([os.environ["PANSHARP_COMMAND"], "info", "--json", *names], capture_output=True).stdout)["sharpen"]["memory_bytes"]
                  for names in (["data/x.tar"], [self.server + "/good/x.tar"], [self.server + "/good/item.json"])]
        self.assertTrue(memory[0] < memory[1] < memory[2], memory)
        # A server does not list folders: metadata name the files.
        pathlib.Path("data/x_MTL.txt").write_text("GROUP = A\nPROCESSING_LEVEL = L1TP\nSPACECRAFT_ID = LANDSAT_8\n"
                                                  "FILE_NAME_BAND_8 = x_pan.tif\nFILE_NAME_BAND_4 = x_rgb.tif\nEND_GROUP = A\n")
        run = self.sharpen(self.server + "/good/x_MTL.txt", output="mtl.tif")
        self.assertIn("1 red 0.655 µm x_rgb.tif", run.stdout, run.stderr)
        # All pixels come over connections other than that of the thread that opens and reads files.
        log = pathlib.Path("access.log").read_text()
        reader, ahead = (set(re.findall(rf'(\d+) "GET /good/w_x_pan.{kind} ', log)) for kind in ("tfw", "tif"))
        self.assertTrue(reader and ahead and not reader & ahead, log)
        self.assertGreater(len(set(re.findall(r'(\d+) "GET /good/x_pan.tif.sig=a ', log))), 2)

    def test_sends_whole_outputs_to_object_storage(self):
        pair = ["data/x_pan.tif", "data/x_rgb.tif"]
        os.mkdir("spare")
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Storage)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        storage = {"AWS_S3_ENDPOINT": f"127.0.0.1:{server.server_port}", "AWS_HTTPS": "NO", "AWS_VIRTUAL_HOSTING": "FALSE",
                   "AWS_ACCESS_KEY_ID": "k", "AWS_SECRET_ACCESS_KEY": "s", "CPL_TMPDIR": "spare", "GDAL_HTTP_MAX_RETRY": "1", "GDAL_HTTP_RETRY_DELAY": "0.01"}
        for name, method in [("x.tif", "injection"), ("kova.tif", "kova")]:
            self.assertEqual(self.sharpen(*pair, "--method", method, output=name).returncode, 0)
        for output, options, words in [
                ("s3://store/a/x.tif", [], ""), ("/vsis3/store/a/x.tif", [], "exists; choose another name"),
                ("s3://store/a/x.tif", ["--overwrite", "--method", "kova"], ""),
                ("s3://denied/x.tif", [], "cannot be sent to '/vsis3/denied/x.tif'"),
                ("s3://unsure/x.tif", [], "'/vsis3/unsure/x.tif' may exist"),
                ("/vsiaz/store/y.tif", [], "neither in the file system"),
                (self.server + "/store/y.tif", [], "neither in the file system nor on object storage")]:
            if options:
                Storage.objects["/store/a/x.tif.ovr"] = b"of the old one"
            run = self.sharpen(*pair, *options, output=output, **storage)
            self.assertEqual(run.returncode, 1 if words else 0, run.stderr)
            self.assertIn(words, run.stderr)
            self.assertFalse(os.listdir("spare"))
            if not words:  # the whole new object, and nothing else
                whole = pathlib.Path("kova.tif" if options else "x.tif").read_bytes()
                self.assertEqual(Storage.objects, {"/store/a/x.tif": whole})
        Storage.objects["/store/a/x.tif.ovr"] = b"locked"
        self.assertIn("x.tif.ovr', which describes the old one", self.sharpen(*pair, "--overwrite", output="s3://store/a/x.tif", **storage).stderr)

    def test_tells_what_failed_and_leaves_nothing(self):
        self.assertIn("server cannot be reached or does not list its folders", self.sharpen(self.server + "/good/", output="x.tif").stderr)
        pathlib.Path("data/cut.tif").write_bytes(pathlib.Path("data/x_pan.tif").read_bytes()[:40])
        run = self.sharpen(self.server + "/good/cut.tif", self.server + "/good/x_rgb.tif", output="x.tif")
        self.assertRegex(run.stderr, rf"cannot be opened; .*: /vsicurl/{self.server}/good/cut.tif")
        run = self.sharpen(f"/vsitar//vsicurl/{self.server}/errors/x.tar/x/x_pan.tif", "data/x_rgb.tif", output="x.tif", GDAL_HTTP_MAX_RETRY="0")
        self.assertRegex(run.stderr, r"x.tar/x/x_pan.tif' \(bytes \d+ to \d+\) cannot be read; the server or the connection failed")
        before = sorted(os.listdir())
        for place, words in [("/errors/", "the server or the connection failed"), ("/drops/", "failed"), ("/none/", "cannot be opened")]:
            names = [self.server + place + name for name in ("x_pan.tif", "x_rgb.tif")]
            run = self.sharpen(*names, output="out.tif", GDAL_HTTP_MAX_RETRY="1", GDAL_HTTP_RETRY_DELAY="0.01")
            self.assertEqual(run.returncode, 1, run.stderr)
            self.assertRegex(run.stderr, re.escape(names[0]) if place == "/none/" else rf"'/vsicurl/{names[0]}' \(bytes \d+ to \d+\)")
            self.assertIn(words, run.stderr)
            self.assertEqual(sorted(os.listdir()), sorted({*before, "access.log", "error.log", "pid", "t"}))


if __name__ == "__main__":
    unittest.main()
