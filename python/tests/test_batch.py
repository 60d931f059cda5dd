"""process_files on a Dask LocalCluster and in a local pool: failures stay alone, resume does nothing."""

import os
import shutil

import pytest

from conftest import MODELS
from moxsdk.batch import process_files

GOOD = ["OBJ/box.obj", "OBJ/spider.obj", "PLY/cube.ply", "STL/Spider_ascii.stl", "OFF/Cube.off"]


@pytest.fixture
def models(tmp_path):
    directory = tmp_path / "models"
    for model in GOOD:
        target = directory / model
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(MODELS / model, target)
    (directory / "OBJ" / "broken.obj").write_text("v 0 0 0\nf 1 2 3\n")
    return directory


def outputs(results):
    return {result["output"]: open(result["output"], "rb").read() for result in results if result["status"] == "ok"}


def check_first_run(results, models, out_dir):
    by_input = {result["input"]: result for result in results}
    assert sorted(by_input) == sorted(str(models / model) for model in GOOD + ["OBJ/broken.obj"])
    broken = by_input.pop(str(models / "OBJ" / "broken.obj"))
    assert broken["status"] == "failed"
    assert "broken.obj" in broken["error"] and "out of range" in broken["error"]
    assert all(result["status"] == "ok" for result in by_input.values())
    assert by_input[str(models / "OBJ" / "box.obj")]["output"] == str(out_dir / "OBJ" / "box_obj.obj")
    assert all(result["report"]["input"]["sha256"] == result["input_sha256"] for result in by_input.values())


def test_dask_local_cluster_and_resume(tmp_path, models):
    distributed = pytest.importorskip("distributed")
    out_dir = tmp_path / "out"
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None) as cluster, \
            distributed.Client(cluster) as client:
        results = process_files(models, out_dir, client=client, tangents=True)
        check_first_run(results, models, out_dir)
        written = {path: os.stat(path).st_mtime_ns for path in outputs(results)}
        again = process_files(models, out_dir, client=client, resume=True, tangents=True)
    # Only the file without an output is tried again (and fails again); nothing is rewritten.
    assert [result["status"] for result in again] == \
        ["failed" if result["input"].endswith("broken.obj") else "skipped" for result in results]
    assert {path: os.stat(path).st_mtime_ns for path in written} == written

    # One local worker writes the same bytes as the cluster's two.
    local = process_files(models, tmp_path / "local", jobs=1, tangents=True)
    check_first_run(local, models, tmp_path / "local")
    assert list(outputs(local).values()) == list(outputs(results).values())


def test_a_changed_input_is_processed_again(tmp_path, models):
    out_dir = tmp_path / "out"
    paths = [models / "OBJ" / "box.obj", models / "PLY" / "cube.ply"]
    assert [r["status"] for r in process_files(paths, out_dir, jobs=2)] == ["ok", "ok"]
    assert [r["status"] for r in process_files(paths, out_dir, jobs=2, resume=True)] == ["skipped", "skipped"]
    with open(paths[1], "ab") as ply:
        ply.write(b"\n")
    assert [r["status"] for r in process_files(paths, out_dir, jobs=2, resume=True)] == ["skipped", "ok"]


def test_unknown_options_are_refused(tmp_path):
    with pytest.raises(TypeError, match="unknown options"):
        process_files([], tmp_path, normal="keep")
