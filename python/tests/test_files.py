"""read, write and process_file: the tool's readers and writers, the same bytes as moxmesh process."""

import json
import subprocess

import pytest

import moxsdk
from conftest import MODELS

CASES = [
    ("OBJ/spider.obj", "obj", {"smooth_angle": 30.0, "tangents": True}),
    ("OBJ/box.obj", "glb", {"normals": "control-point"}),
    ("PLY/cube_uv.ply", "gltf", {"tangents": True, "split": True}),
    ("STL/Spider_binary.stl", "obj", {"normals": "keep", "clean": True}),
    ("OFF/Wuson.off", "glb", {"smooth_angle": 45.0}),
    ("glTF2/BoxTextured-glTF/BoxTextured.gltf", "obj", {"tangents": True}),
]


def command_line(options):
    arguments = ["--normals", options.get("normals", "polygon-vertex")]
    if options.get("smooth_angle") is not None:
        arguments += ["--smooth-angle", repr(options["smooth_angle"])]
    arguments += [f"--{flag}" for flag in ("tangents", "split", "clean") if options.get(flag)]
    return arguments


def without_times(report):
    """The report without its measured times, which differ from run to run."""
    if isinstance(report, dict):
        return {key: without_times(value) for key, value in report.items() if key not in ("ms", "total_ms")}
    if isinstance(report, list):
        return [without_times(value) for value in report]
    return report


@pytest.mark.parametrize("model, extension, options", CASES, ids=[case[0] for case in CASES])
def test_process_file_writes_what_moxmesh_process_writes(tmp_path, moxmesh, model, extension, options):
    source = MODELS / model
    output = tmp_path / f"out.{extension}"
    printed = subprocess.run([moxmesh, "process", source, "-o", output, *command_line(options), "--report-json"],
                             capture_output=True, text=True, check=True).stdout
    expected_report = json.loads(printed)
    written = {file["path"]: open(file["path"], "rb").read() for file in expected_report["output"]["files"]}

    report = moxsdk.process_file(source, output, **options)
    assert without_times(report) == without_times(expected_report)
    assert set(report) == {"input", "output", "counts", "steps", "total_ms", "library_reports"}
    for path, contents in written.items():
        assert open(path, "rb").read() == contents, path


def test_read_and_write(tmp_path):
    mesh = moxsdk.read(MODELS / "OBJ" / "spider.obj")
    assert (mesh.control_point_count, mesh.polygon_count) == (762, 1368)
    assert mesh.uv_set_names == ["uv0"]
    mesh.build_edges()
    mesh.generate_normals()
    files = moxsdk.write(mesh, tmp_path / "spider.glb")
    assert files == [str(tmp_path / "spider.glb")]
    again = moxsdk.read(tmp_path / "spider.glb")
    assert again.polygon_count == 1368
