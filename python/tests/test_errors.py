"""Wrong arguments raise before anything changes; the library's reports arrive as MeshWarning."""

import threading
import warnings

import numpy as np
import pytest

import moxsdk
from conftest import cube_arrays

NAN = float("nan")


@pytest.mark.parametrize("points, polygons, error, message", [
    ([[0, 0]], [[0]], ValueError, r"points: expected shape \(n, 3\), got \(1, 2\)"),
    ([[0, 0, 0, 0]], [[0]], ValueError, r"points: expected shape \(n, 3\)"),
    ([0, 0, 0], [[0]], ValueError, r"points: expected shape \(n, 3\), got \(3,\)"),
    ([[0, 0, NAN]], [[0]], ValueError, "points: row 0 holds a non-finite value"),
    ([[0, 0, 0], [float("inf"), 0, 0]], [[0]], ValueError, "points: row 1 holds a non-finite value"),
    ([["a", "b", "c"]], [[0]], ValueError, "points: expected real numbers"),
    ([[0, 0, 0]], [[1]], IndexError, r"polygons\[0\]: entry 0 is 1, outside 0 \.\. 0"),
    ([[0, 0, 0]], np.array([[0, 0, -1]]), IndexError, r"polygons: entry 2 is -1, outside 0 \.\. 0"),
    ([[0, 0, 0]], [[0], [0, 1]], IndexError, r"polygons\[1\]: entry 1 is 1"),
    ([[0, 0, 0]], [[0], []], ValueError, r"polygons\[1\]: a polygon needs at least one vertex"),
    ([[0, 0, 0]], [[0.0]], ValueError, r"polygons\[0\]: expected integers, got dtype float64"),
    ([[0, 0, 0]], np.array([[0.0]]), ValueError, "polygons: expected integers"),
    ([[0, 0, 0]], np.array([0, 0, 0]), ValueError, r"polygons: expected an \(m, k\) array, got shape \(3,\)"),
    ([[0, 0, 0]], ([2], [0]), ValueError, "polygons indices: 1 entries, expected 2"),
    ([[0, 0, 0]], ([0], []), IndexError, r"polygons sizes: entry 0 is 0, outside 1 \.\."),
    ([[0, 0, 0]], ([1], [3]), IndexError, "polygons indices: entry 0 is 3"),
    ([[0, 0, 0]], "012", ValueError, "polygons: expected an"),
    ([[0, 0, 0]], 5, ValueError, "polygons: expected an"),
])
def test_from_arrays_refuses(points, polygons, error, message):
    with pytest.raises(error, match=message):
        moxsdk.Mesh.from_arrays(points, polygons)


def snapshot(mesh):
    return (mesh.points.tobytes(), mesh.polygon_sizes.tobytes(), mesh.polygon_vertices.tobytes(), mesh.edge_count,
            mesh.uv_set_names, None if mesh.uvs() is None else mesh.uvs().tobytes(),
            None if mesh.normals is None else mesh.normals.tobytes())


@pytest.fixture
def cube():
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    mesh.set_uvs(np.zeros((24, 2)))
    return mesh


@pytest.mark.parametrize("call, error, message", [
    (lambda m: m.set_uvs(np.zeros((23, 2))), ValueError, "values: 23 rows, expected 24"),
    (lambda m: m.set_uvs(np.zeros((24, 3))), ValueError, r"values: expected shape \(n, 2\)"),
    (lambda m: m.set_uvs([[NAN, 0]] * 24), ValueError, "values: row 0 holds a non-finite value"),
    (lambda m: m.set_uvs([[0, 0]], indices=[0] * 23), ValueError, "indices: 23 entries, expected 24"),
    (lambda m: m.set_uvs([[0, 0]], indices=[0] * 23 + [1]), IndexError, r"indices: entry 23 is 1, outside -1 \.\. 0"),
    (lambda m: m.set_uvs([[0, 0]], indices=[0] * 23 + [-2]), IndexError, "indices: entry 23 is -2"),
    (lambda m: m.set_uvs([[0, 0]], indices=[0.0] * 24), ValueError, "indices: expected integers"),
    (lambda m: m.uvs("nope"), ValueError, "no UV set named 'nope'"),
    (lambda m: m.tangents("nope"), ValueError, "no UV set named 'nope'"),
    (lambda m: m.generate_tangents(uv_set="nope"), ValueError, "no UV set named 'nope'"),
    (lambda m: m.set_materials([0] * 5), ValueError, "per_polygon: 5 entries, expected 6"),
    (lambda m: m.set_materials([0] * 5 + [70000]), IndexError, "per_polygon: entry 5 is 70000"),
    (lambda m: m.set_smoothing_groups([0] * 7), ValueError, "per_polygon: 7 entries, expected 6"),
    (lambda m: m.set_smoothing_groups([[0] * 6]), ValueError, "per_polygon: expected a one-dimensional sequence"),
    (lambda m: m.set_hard_edges([True] * 12), ValueError, r"set_hard_edges: the mesh has no edges; call build_edges\(\) first"),
    (lambda m: m.smooth_by_angle(30.0), ValueError, "smooth_by_angle: the mesh has no edges"),
    (lambda m: m.smooth_by_angle(NAN), ValueError, "degrees: expected a finite angle"),
    (lambda m: m.smooth_by_angle(-1.0), ValueError, "degrees: expected a finite angle of at least 0"),
    (lambda m: m.generate_normals(by_control_point="yes"), TypeError, "incompatible function arguments"),
])
def test_mesh_calls_refuse_and_leave_the_mesh_unchanged(cube, call, error, message):
    before = snapshot(cube)
    with pytest.raises(error, match=message):
        call(cube)
    assert snapshot(cube) == before


@pytest.mark.parametrize("mask, error, message", [
    ([True] * 11, ValueError, "edge_mask: 11 entries, expected 12"),
    ([2] * 12, IndexError, r"edge_mask: entry 0 is 2, outside 0 \.\. 1"),
])
def test_hard_edges_refused(cube, mask, error, message):
    cube.build_edges()
    before = snapshot(cube)
    with pytest.raises(error, match=message):
        cube.set_hard_edges(mask)
    assert snapshot(cube) == before


def test_file_errors_name_the_file(tmp_path):
    with pytest.raises(moxsdk.MeshFileError, match="missing.obj"):
        moxsdk.read(tmp_path / "missing.obj")
    bad = tmp_path / "bad.obj"
    bad.write_text("f 1 2 3\n")
    with pytest.raises(moxsdk.MeshFileError, match="bad.obj"):
        moxsdk.process_file(bad, tmp_path / "out.obj")
    with pytest.raises(ValueError, match="normals: expected 'keep', 'control-point' or 'polygon-vertex'"):
        moxsdk.process_file(bad, tmp_path / "out.obj", normals="face")
    with pytest.raises(ValueError, match="smooth_angle"):
        moxsdk.process_file(bad, tmp_path / "out.obj", smooth_angle=200)


def test_reports_arrive_as_mesh_warnings():
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    mesh.build_edges()
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        assert mesh.split_points()  # no normals to carry along: the library reports it and goes on
    assert [w.category for w in caught] == [moxsdk.MeshWarning]
    report = caught[0].message
    assert (report.file, report.function, report.message) == ("scene/geometry/moxmesh", "SplitPoints",
                                                              "isvalid && lNormals")
    assert caught[0].filename == __file__


def test_warnings_as_errors_leave_the_interpreter_working():
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    with warnings.catch_warnings():
        warnings.simplefilter("error", moxsdk.MeshWarning)
        with pytest.raises(moxsdk.MeshWarning):
            mesh.split_points()
    assert mesh.control_point_count == 24


def test_a_mesh_in_use_refuses_a_second_thread():
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(np.tile(points, (20000, 1)), np.tile(quads, (20000, 1)))
    errors = []

    def build():
        try:
            for _ in range(5):
                mesh.build_edges()
        except RuntimeError as error:
            errors.append(str(error))

    threads = [threading.Thread(target=build) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert set(errors) <= {"the mesh is in use by another thread"}
    assert mesh.build_edges() == 12
