"""Arrays in and out: every form of polygons, the points view, the adjacency maps."""

import gc

import numpy as np
import pytest

import moxsdk
from conftest import cube_arrays

POINTS = [[0.0, 0.0, 0.0], [1.0, 0.0, 0.0], [1.0, 1.0, 0.0], [0.0, 1.0, 0.0], [2.0, 0.0, 0.0]]
MIXED_SIZES = [4, 3]
MIXED_INDICES = [0, 1, 2, 3, 1, 4, 2]


@pytest.mark.parametrize("polygons", [
    [[0, 1, 2, 3], [1, 4, 2]],
    ([4, 3], [0, 1, 2, 3, 1, 4, 2]),
    (np.array([4, 3], dtype=np.uint8), np.array([0, 1, 2, 3, 1, 4, 2], dtype=np.int64)),
    [np.array([0, 1, 2, 3], dtype=np.int16), (1, 4, 2)],
], ids=["list of lists", "pair of lists", "pair of arrays", "list of arrays and tuples"])
def test_mixed_sizes(polygons):
    mesh = moxsdk.Mesh.from_arrays(POINTS, polygons)
    assert mesh.control_point_count == 5
    assert mesh.polygon_count == 2
    assert mesh.polygon_vertex_count == 7
    assert mesh.polygon_sizes.dtype == np.int32
    assert mesh.polygon_vertices.dtype == np.int32
    assert mesh.polygon_sizes.tolist() == MIXED_SIZES
    assert mesh.polygon_vertices.tolist() == MIXED_INDICES


@pytest.mark.parametrize("dtype", [np.int32, np.int64, np.uint32])
def test_fixed_size_array(dtype):
    points, quads = cube_arrays()
    mesh = moxsdk.Mesh.from_arrays(points.astype(np.float32), quads.astype(dtype))
    assert mesh.polygon_sizes.tolist() == [4] * 6
    assert mesh.polygon_vertices.tolist() == quads.reshape(-1).tolist()
    assert np.array_equal(mesh.points, points)


def test_empty_mesh():
    mesh = moxsdk.Mesh.from_arrays(np.zeros((0, 3)), [])
    assert (mesh.control_point_count, mesh.polygon_count) == (0, 0)
    assert mesh.points.shape == (0, 3)
    assert mesh.build_edges() == 0


def test_points_is_a_writable_strided_view():
    mesh = moxsdk.Mesh.from_arrays(POINTS, [[0, 1, 2, 3]])
    points = mesh.points
    assert points.dtype == np.float64
    assert points.shape == (5, 3)
    assert points.strides == (32, 8)  # rows of the library's four-component points
    points += [0.0, 0.0, 2.0]
    points[4] = [7.0, 8.0, 9.0]
    assert mesh.points.tolist() == [[0, 0, 2], [1, 0, 2], [1, 1, 2], [0, 1, 2], [7, 8, 9]]
    # A slice of the view is a view of the mesh too.
    mesh.points[:, 0] *= 2.0
    assert mesh.points[:, 0].tolist() == [0, 2, 2, 0, 14]


def test_point_writes_reach_the_operations():
    mesh = moxsdk.Mesh.from_arrays(POINTS[:4], [[0, 1, 2, 3]])
    mesh.points[:, [1, 2]] = mesh.points[:, [2, 1]]  # the quad now lies in the x-z plane
    mesh.build_edges()
    mesh.generate_normals()
    assert mesh.normals.tolist() == [[0.0, -1.0, 0.0]] * 4


def test_points_view_keeps_the_mesh_alive():
    points = moxsdk.Mesh.from_arrays(POINTS, [[0, 1, 2]]).points
    gc.collect()
    points[0, 0] = 5.0
    assert points[0].tolist() == [5.0, 0.0, 0.0]


def test_points_views_block_operations_that_move_points():
    mesh = moxsdk.Mesh.from_arrays(POINTS, [[0, 1, 2, 3], [1, 4, 2]])
    view = mesh.points[1:]
    with pytest.raises(BufferError, match="split_points: numpy views of mesh.points exist"):
        mesh.split_points()
    with pytest.raises(BufferError, match="merge_points"):
        mesh.merge_points()
    assert mesh.control_point_count == 5
    del view
    with pytest.warns(moxsdk.MeshWarning, match="isvalid && lNormals"):  # the mesh has no normals
        assert mesh.split_points()
    assert mesh.control_point_count == 7
    assert mesh.polygon_vertices.tolist() == [0, 1, 2, 3, 5, 4, 6]


def test_component_maps_of_two_polygons():
    mesh = moxsdk.Mesh.from_arrays(POINTS, [[0, 1, 2, 3], [1, 4, 2]])
    assert mesh.build_edges() == 6
    (edge_offsets, edge_polygons), (polygon_offsets, polygon_edges) = mesh.component_maps()
    assert edge_offsets.tolist() == [0, 1, 3, 4, 5, 6, 7]
    assert edge_polygons.tolist() == [0, 0, 1, 0, 0, 1, 1]
    assert polygon_offsets.tolist() == [0, 4, 7]
    assert polygon_edges.tolist() == [0, 1, 2, 3, 1, 4, 5]


def test_control_point_to_vertices():
    mesh = moxsdk.Mesh.from_arrays(POINTS, [[0, 1, 2, 3], [1, 4, 2]])
    offsets, vertices = mesh.control_point_to_vertices()
    assert offsets.tolist() == [0, 1, 3, 5, 6, 7]
    assert vertices.tolist() == [0, 1, 4, 2, 6, 3, 5]
