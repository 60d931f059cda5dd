"""The operations: results equal the C++ library's bit for bit; attributes in and out."""

import numpy as np
import pytest

import moxsdk
from conftest import cube_arrays, cylinder_arrays, library_reference


def test_cube_normals_equal_the_library():
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    assert mesh.build_edges() == 12
    assert mesh.generate_normals()
    expected = library_reference(points, quads)
    assert mesh.normals.shape == (24, 3)
    assert mesh.normals.tobytes() == expected["normal"].tobytes()


def test_cylinder_normals_and_tangents_equal_the_library():
    points, quads, uvs = cylinder_arrays()
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    mesh.set_uvs(uvs)
    mesh.build_edges()
    assert mesh.generate_normals()
    assert mesh.generate_tangents()
    expected = library_reference(points, quads, uvs)
    assert mesh.normals.tobytes() == expected["normal"].tobytes()
    assert mesh.tangents().shape == (32, 4)
    assert mesh.tangents().tobytes() == expected["tangent"].tobytes()
    assert mesh.binormals("map1").tobytes() == expected["binormal"].tobytes()
    assert set(mesh.tangents()[:, 3]) <= {1.0, -1.0}


def test_uv_sets_direct_and_indexed():
    points, quads, uvs = cylinder_arrays(4)
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    assert mesh.uv_set_names == []
    assert mesh.uvs() is None
    mesh.set_uvs(uvs)
    mesh.set_uvs([[0.5, 0.25], [1.0, 0.0]], indices=[0, 1] * 8, name="atlas")
    assert mesh.uv_set_names == ["map1", "atlas"]
    assert mesh.uvs().tobytes() == uvs.tobytes()
    assert mesh.uvs("atlas").tolist() == [[0.5, 0.25], [1.0, 0.0]] * 8
    mesh.set_uvs(uvs[::-1].copy(), name="atlas")  # replaces the set's values
    assert mesh.uv_set_names == ["map1", "atlas"]
    assert mesh.uvs("atlas").tobytes() == uvs[::-1].tobytes()


def test_unmapped_uvs_read_as_zero():
    mesh = moxsdk.Mesh.from_arrays([[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2]])
    mesh.set_uvs([[0.5, 0.5]], indices=[0, -1, 0])
    assert mesh.uvs().tolist() == [[0.5, 0.5], [0.0, 0.0], [0.5, 0.5]]


def test_tangents_of_one_uv_set_only():
    points, quads, uvs = cylinder_arrays(4)
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    mesh.set_uvs(uvs, name="first")
    mesh.set_uvs(uvs[:, ::-1].copy(), name="second")
    mesh.build_edges()
    mesh.generate_normals()
    assert mesh.tangents("second") is None
    assert mesh.generate_tangents(uv_set="second")
    assert mesh.tangents("first") is None
    assert mesh.tangents("second").shape == (16, 4)


def test_normals_by_control_point_read_per_polygon_vertex():
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    mesh.build_edges()
    assert mesh.normals is None
    assert mesh.generate_normals(by_control_point=True)
    normals = mesh.normals
    assert normals.shape == (24, 3)
    # Every corner of control point 0 reads the same normal.
    corners = np.flatnonzero(mesh.polygon_vertices == 0)
    assert len({tuple(normals[c]) for c in corners}) == 1


def test_hard_edges_and_smoothing_by_angle():
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    mesh.build_edges()
    assert mesh.smooth_by_angle(30.0) == (0, 12)
    mesh.generate_normals()
    faceted = mesh.normals
    assert set(map(tuple, faceted.tolist())) == {(0, 0, -1), (0, 0, 1), (0, -1, 0), (0, 1, 0), (-1, 0, 0), (1, 0, 0)}
    assert mesh.smooth_by_angle(90.0) == (12, 0)
    mesh.set_hard_edges(np.ones(12, dtype=bool))
    mesh.generate_normals()
    assert mesh.normals.tobytes() == faceted.tobytes()


def test_smoothing_groups_and_materials():
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    mesh.set_smoothing_groups([1, 2, 3, 4, 5, 6])
    mesh.set_materials([0, 0, 1, 1, -1, 2])
    mesh.build_edges()
    assert mesh.generate_normals()
    assert mesh.normals.shape == (24, 3)


def test_split_and_merge_points():
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(points, quads)
    mesh.build_edges()
    mesh.generate_normals()
    assert mesh.split_points()
    assert mesh.control_point_count == 24
    assert mesh.merge_points() == 16
    assert mesh.control_point_count == 8


def test_remove_bad_polygons():
    mesh = moxsdk.Mesh.from_arrays([[0, 0, 0], [1, 0, 0], [0, 1, 0]], [[0, 1, 2], [0, 1], [0, 1, 1]])
    assert mesh.remove_bad_polygons() == 2
    assert mesh.polygon_sizes.tolist() == [3]


def test_operations_release_the_gil():
    """Two threads working on two meshes at once both finish with the single-threaded results."""
    import concurrent.futures
    points, quads, uvs = cylinder_arrays(64)

    def run():
        mesh = moxsdk.Mesh.from_arrays(points, quads)
        mesh.set_uvs(uvs)
        mesh.build_edges()
        mesh.generate_normals()
        mesh.generate_tangents()
        return mesh.tangents().tobytes()

    expected = run()
    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        assert all(result == expected for result in pool.map(lambda _: run(), range(8)))
