"""Scenes fused by many processes. PANSHARP_COMMAND names the command whose results they must equal."""

import fcntl
import filecmp
import glob
import http.server
import json
import os
import resource
import shutil
import signal
import socket
import subprocess
import sys
import threading
import unittest.mock
import urllib.parse

import pansharp
import pytest
from scenes import write_pair

distributed = pytest.importorskip("distributed")
gdal = pytest.importorskip("osgeo.gdal")
import pansharp.distributed as many  # noqa: E402
from pansharp.distributed import __main__, _batch, _connection, _mosaic, _parts, _run  # noqa: E402

gdal.UseExceptions()
ROWS, COLUMNS, COUNT = 520, 776, 12  # parts of 256 x 256 pixels


@pytest.fixture(scope="module")
def client():
    with _connection.start(2) as cluster, distributed.Client(cluster) as client:
        yield client


@pytest.fixture
def scene(tmp_path, monkeypatch, request):
    """A scene with a collar of zeros in its upper left corner, described, in the folder that the test runs in."""
    def blacken(pan, _):
        pan[:getattr(request, "param", 100), :300] = 0
    monkeypatch.chdir(tmp_path)
    write_pair(tmp_path, change=blacken, options=["-co", "TILED=YES"], rows=ROWS, columns=COLUMNS)
    pansharp.sharpen("pan.tif", "ms.tif", "scene.pansharp")
    return "scene.pansharp"


def facts(file):
    """Everything about an image, as values that can be compared."""
    image = gdal.Open(file)
    bands = [image.GetRasterBand(band + 1) for band in range(image.RasterCount)]
    return (image.GetGeoTransform(), image.GetProjection(), image.GetMetadata(), image.ReadAsArray().tobytes(),
            [(band.GetDescription(), band.GetColorInterpretation(), band.GetNoDataValue(), band.GetMaskFlags(), band.GetMetadata(),
              band.GetMaskBand().ReadAsArray().tobytes()) for band in bands])


@pytest.mark.parametrize("scene", [256], indirect=True)  # one part has no data at all
@pytest.mark.parametrize("options", [{}, {"nodata": 0}, {"alpha": True, "method": "KOVA"}])
def test_the_mosaic_is_what_one_run_writes_and_what_is_there_is_kept(scene, client, options):
    pansharp.sharpen("pan.tif", "ms.tif", "whole.tif", **options)

    def run(**more):
        told = []
        outcome = many.sharpen(client, "pan.tif", "ms.tif", "job", part=256, tell=lambda *_, **facts: told.append(facts.get("text", "")), **options, **more)
        assert outcome.ok and outcome.count == COUNT and not any("no pixel of the output" in text for text in told)
        return outcome.made
    assert run(single="single.tif") == COUNT
    assert facts("job/mosaic.vrt") == facts("single.tif") == facts("whole.tif")
    assert run() == 0
    if options:
        return
    for name, overwrite in ("single.tif", False), ("pan.tif", True), ("job/mosaic.vrt", True), ("none/a.tif", True), ("/vsimem/a.tif", True):
        with pytest.raises(pansharp.OutputError):
            many.sharpen(client, scene, out="job", part=256, single=name, overwrite=overwrite)
    for name in "scene.pansharp", "mosaic.vrt", "report.json", "parts/r0000000c0000000.tif":
        own = shutil.move(f"job/{name}", "own")
        shutil.copy("pan.tif", f"job/{name}")
        with pytest.raises(pansharp.OutputError, match=f"{name}' exists, and no job"):
            run()
        assert filecmp.cmp("pan.tif", f"job/{name}", shallow=False)
        shutil.move(own, f"job/{name}")
    os.truncate("job/parts/r0000256c0000256.tif", 3000)
    os.unlink("job/parts/r0000512c0000768.tif")
    assert run() == 2 and facts("job/mosaic.vrt") == facts("whole.tif")

    def mask(*co):
        return _mosaic.look("job/parts/r0000000c0000000.tif", (0, 0, 256, 256), _parts.fingerprint("job/scene.pansharp", co))
    with pytest.raises(_run.Late):
        _mosaic.single("job/mosaic.vrt", "late.tif", "GTiff", [], False, lambda done: True, _run.Deadline(1e-9))
    with pytest.raises(OSError):
        _mosaic.vrt("none", (1, 1), {_parts.Part(0, 0, 1, 1): False}, True)
    assert many.sharpen(client, "job/scene.pansharp", out="job", part=256).ok and run() == 0  # the job's own description stays its own
    assert many.sharpen(client, scene, out=".", part=256).ok
    with pytest.raises(pansharp.OutputError, match="scene.pansharp' exists, and no job"):
        many.sharpen(client, "pan.tif", "ms.tif", ".", part=256)
    assert (mask(), mask("COMPRESS=DEFLATE")) == (True, None)
    gdal.Translate("ms.vrt", "ms.tif")
    pansharp.sharpen("pan.tif", "ms.vrt", "source.pansharp")
    before = _parts.fingerprint("source.pansharp", [])
    os.utime("ms.tif")
    assert mask() is None and before != _parts.fingerprint("source.pansharp", [])


def test_what_can_be_made_is_made_and_the_rest_is_named(scene, client):
    pansharp.sharpen(scene, out="whole.tif")
    os.truncate("pan.tif", os.path.getsize("pan.tif") - 2 * 256 * 256 * 2)  # the last two tiles
    events = []
    outcome = many.sharpen(client, scene, out="job", part=256, limits=many.Limits(attempts=2), tell=lambda *event, **_: events.append(event[0]))
    lost = set(outcome.failed)
    near = {part for part in many.cut(ROWS, COLUMNS, (256, 256)) if part.row > 0 and part.column > 0}  # so far detail is looked for
    assert lost == {part.name for part in near} and not outcome.ok
    assert {failure["kind"] for failure in outcome.failed.values()} == {"input"} and events.count("retried") == len(lost)
    assert len(os.listdir("job/parts")) == COUNT - len(lost)
    whole, mosaic = gdal.Open("whole.tif"), gdal.Open("job/mosaic.vrt")
    assert (mosaic.ReadAsArray(0, 0, COLUMNS, 256) == whole.ReadAsArray(0, 0, COLUMNS, 256)).all()
    mask = mosaic.GetRasterBand(1).GetMaskBand().ReadAsArray()
    assert not mask[256:, 256:].any() and mask[256:, :256].all() and not mask[:100, :300].any()


def limit_files(most):
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (most, resource.getrlimit(resource.RLIMIT_FSIZE)[1]))


def test_a_worker_that_cannot_write_leaves_its_parts_to_another(scene, client):
    full = list(client.scheduler_info()["workers"])[0]
    client.run(limit_files, 100_000, workers=[full])
    outcome = many.sharpen(client, scene, out="job", part=256, check=False)
    client.run(limit_files, resource.RLIM_INFINITY, workers=[full])
    assert outcome.ok and full not in {task["worker"] for task in outcome.tasks}


def work(how, note):
    times = len(os.listdir(note))
    open(os.path.join(note, str(times)), "w").close()
    if how == "kills" or (how == "kills once" and not times):
        os.kill(os.getpid(), signal.SIGKILL)
    fails = how == "fails" or (how == "fails once" and not times)
    return {"error": {"kind": "input", "text": how, "items": [], "again": True} if fails else None}


def test_a_task_that_ends_its_worker_again_and_again_is_named_and_ends_nothing_else(client, tmp_path):
    hows = ["kills", "kills once", "fails", "fails once", *(["works"] * 20)]
    tasks = []
    for number, how in enumerate(hows):
        (tmp_path / str(number)).mkdir()
        tasks.append(_run.Task(number, work, (how, str(tmp_path / str(number)))))
    ended = {}
    _run.Runner(_connection.Connection(client), many.Limits()).run(tasks, lambda task, result: ended.setdefault(task.key, result["error"]), lambda *_: None)
    kinds = [error and error["kind"] for _, error in sorted(ended.items())]
    assert kinds == ["quarantine", None, "input", None, *([None] * 20)] and tasks[2].attempts == 3


def test_the_command_refuses_what_cannot_be():
    for typed in "--scheduler=", "--scheduler=tcp://host", "--scheduler=x://host:1", "--time-limit=nan", "--patience=-1":
        with pytest.raises(SystemExit):
            __main__._parser().parse_args(["sharpen", "scene.pansharp", "out", typed])


def test_what_a_scheduler_that_has_gone_for_good_leaves_is_named_at_once(tmp_path):
    with _connection.start(1) as cluster:
        connection = _connection.Connection(lambda: distributed.Client(cluster.scheduler_address, timeout=1, set_as_default=False))
        connection.workers()
    ended = []
    for patience in 0.1, 3600:
        task = _run.Task(0, work, ("works", str(tmp_path)))
        _run.Runner(connection, many.Limits(patience=patience)).run([task], lambda _, result: ended.append(result["error"]["kind"]), lambda *_: None)
    assert ended == ["lost", "lost"]


def test_the_command_outlives_its_scheduler(scene, tmp_path):
    with socket.socket() as free:
        free.bind(("127.0.0.1", 0))
        port = free.getsockname()[1]
    address = f"tcp://127.0.0.1:{port}"
    scheduler = [sys.executable, "-m", "dask", "scheduler", "--host", "127.0.0.1", "--port", str(port), "--dashboard-address", "127.0.0.1:0"]
    worker = [sys.executable, "-m", "dask", "worker", address, "--host", "127.0.0.1", "--nthreads", "1", "--dashboard-address", "127.0.0.1:0"]
    running = []

    def begin(*commands):
        for command in commands:
            running.append(subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
        return running[-1]
    try:
        first = begin(scheduler)
        command = [sys.executable, "-m", "pansharp.distributed", "sharpen", scene, "job", "--part", "256", "--json"]
        job = subprocess.Popen([*command, "--scheduler", address], stdout=subprocess.PIPE, text=True)
        running.append(job)
        assert json.loads(job.stdout.readline())["missing"] == COUNT
        assert any(json.loads(line)["event"] == "waiting" for line in job.stdout)  # all is handed out, and there are no workers
        first.kill()
        first.wait()
        begin(scheduler, worker, worker)
        events = [json.loads(line) for line in job.stdout]
        assert job.wait() == 0 and events[-1]["made"] == COUNT
    finally:
        for process in running:
            process.terminate()
        for process in running:
            process.wait()
    pansharp.sharpen(scene, out="whole.tif")
    assert facts("job/mosaic.vrt") == facts("whole.tif")


class Objects(http.server.BaseHTTPRequestHandler):
    """The subset of object storage that GDAL uses: whole puts, ranges, and lists of one folder."""

    kept = {}

    def log_message(self, *_):
        pass

    def answer(self, code, body=b"", **headers):
        self.send_response(code)
        for name, value in {"Content-Length": str(len(body)), **headers}.items():
            self.send_header(name.replace("_", "-"), value)
        self.end_headers()
        self.wfile.write(b"" if self.command == "HEAD" else body)

    def do_PUT(self):
        self.kept[self.path] = self.rfile.read(int(self.headers["Content-Length"]))
        self.answer(200)

    def do_GET(self):
        address = urllib.parse.urlsplit(self.path)
        prefix = urllib.parse.parse_qs(address.query).get("prefix", [""])[0]
        if address.query:
            names = [(name[len("/bucket/"):], len(body)) for name, body in self.kept.items() if name.startswith(f"/bucket/{prefix}")]
            items = "".join(f"<Contents><Key>{name}</Key><Size>{size}</Size></Contents>" for name, size in names if "/" not in name[len(prefix):])
            return self.answer(200, f"<ListBucketResult><Prefix>{prefix}</Prefix>{items}</ListBucketResult>".encode())
        body = self.kept.get(address.path)
        if body is None:
            return self.answer(404)
        if "Range" not in self.headers:
            return self.answer(200, body)
        first, last = (int(end) for end in self.headers["Range"][len("bytes="):].split("-"))
        self.answer(206, body[first:last + 1], Content_Range=f"bytes {first}-{min(last, len(body) - 1)}/{len(body)}")

    do_HEAD = do_GET


def test_parts_may_lie_in_object_storage(client, scene, monkeypatch):
    with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Objects) as server:
        threading.Thread(target=server.serve_forever).start()
        settings = {"AWS_S3_ENDPOINT": f"127.0.0.1:{server.server_port}", "AWS_HTTPS": "NO", "AWS_VIRTUAL_HOSTING": "FALSE", "AWS_ACCESS_KEY_ID": "x",
                    "AWS_SECRET_ACCESS_KEY": "y"}
        try:
            for name, value in settings.items():
                monkeypatch.setenv(name, value)
            client.run(os.environ.update, settings)
            made = [many.sharpen(client, scene, out="/vsis3/bucket/job", part=256).made for _ in range(2)]
            pansharp.sharpen(scene, out="whole.tif")
            assert made == [COUNT, 0] and facts("/vsis3/bucket/job/mosaic.vrt") == facts("whole.tif")
            Objects.kept["/bucket/job/mosaic.vrt"] = b"of others"
            with pytest.raises(pansharp.OutputError, match="no job"):
                many.sharpen(client, scene, out="/vsis3/bucket/job", part=256)
        finally:
            server.shutdown()


def test_a_batch_makes_what_the_command_makes_and_each_skips_what_the_other_has_made(client, scene, tmp_path):
    entries = [{"pan": "pan.tif", "ms": ["ms.tif"], "output": "large.tif", "options": {"co": ["COMPRESS=DEFLATE"]}},
               {"description": scene, "output": "sub/small.tif"}, {"pan": "none.tif", "ms": ["ms.tif"]}, {"pan": 3}]
    (tmp_path / "list.jsonl").write_text("\n".join(map(json.dumps, entries)))
    os.mkdir("parts")
    with open("parts/batch.jsonl", "w") as held, pytest.raises(ValueError, match="another batch"):
        fcntl.flock(held, fcntl.LOCK_EX)
        many.batch(client, "list.jsonl", "parts")
    shutil.copy("pan.tif", "parts/large.tif")
    tasks, kept, parts, there = (
        many.batch(client, "list.jsonl", out, parts_above=above, overwrite=overwrite, limits=many.Limits(attempts=1 + overwrite)).results
        for out, above, overwrite in (("tasks", None, True), ("parts", 0.1, False), ("parts", 0.1, True), ("parts", 0.1, False)))
    command = [os.environ["PANSHARP_COMMAND"], "batch", "list.jsonl", "--quiet", "--out"]
    made, again = ([json.loads(line) for line in subprocess.run([*command, out], stdout=subprocess.PIPE).stdout.splitlines()]
                   for out in ("alone", "tasks"))
    assert json.loads(subprocess.run([*command, "parts"], stdout=subprocess.PIPE).stdout.splitlines()[0])["status"] == "skipped"
    own = "seconds", "worker", "report"
    for line, expected in zip(tasks, made):
        assert {key: value for key, value in line.items() if key not in own} == {key: value for key, value in expected.items() if key not in own}
    assert [[line["status"] for line in lines] for lines in (made, again, kept, parts, there)] == [
        [*two, "failed", "failed"] for two in (("done", "done"), ("skipped", "skipped"), ("failed", "done"), ("done", "skipped"), ("skipped", "skipped"))]
    assert [line["status"] for line in many.batch(client, "list.jsonl", "alone").results] == ["skipped", "skipped", "failed", "failed"]
    for file in "large.tif", "sub/small.tif":
        assert facts(f"tasks/{file}") == facts(f"alone/{file}") == facts(f"parts/{file}")
    assert not glob.glob("parts/*.parts")
    tried = []
    with pytest.raises(_connection.Unreached):
        many.batch(lambda: tried.append(1) or _connection.connect("tcp://127.0.0.1:1", 0.1), "list.jsonl", "none", parts_above=0.1)
    assert tried == [1]
    late = many.batch(client, "list.jsonl", "late", time_limit=1e-9).results
    assert "time limit" in late[0]["errors"][0]["message"] and not os.path.exists("late/large.tif")
    stuck = many.sharpen(client, scene, out="stuck", part=256, time_limit=1e-9)
    slow = _parts.make(scene, many.cut(ROWS, COLUMNS, (256, 256))[0], "stuck/parts", "", [], pansharp.__version__, seconds=1e-9)["error"]
    assert {(part["kind"], "time limit" in part["text"]) for part in (slow, *stuck.failed.values())} == {("late", True)}
    assert not glob.glob("stuck/parts/*.tif")
    turned = {"pan": "pan.tif", "ms": ["ms.tif,band=3", "ms.tif,band=2", "ms.tif,band=1"], "output": "turned.tif"}
    (tmp_path / "two.jsonl").write_text("\n".join(map(json.dumps, (entries[3], entries[0], turned))))
    made, again = ([line["status"] for line in many.batch(client, ["two.jsonl"], "shared", share=True).results] for _ in range(2))
    assert made == ["failed", "done", "done"] and again == ["failed", "skipped", "skipped"]
    for folder, above in ("task", None), ("part", 0.1):  # stopped between an output and its line
        with unittest.mock.patch.object(_batch._Book, "add", side_effect=KeyboardInterrupt), pytest.raises(KeyboardInterrupt):
            many.batch(client, "list.jsonl", folder, parts_above=above)
        assert [line["status"] for line in many.batch(client, "list.jsonl", folder, parts_above=above).results[:2]] == ["done", "done"]
    first, other = (json.loads(line)["report"] for line in open("shared/batch.jsonl") if '"done"' in line)
    assert first["gains"] == other["gains"] and len(set(map(tuple, first["gains"]))) > 1
    assert (tmp_path / "tasks/summary.csv").read_text().count("\n") == 5
