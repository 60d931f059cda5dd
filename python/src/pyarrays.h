#pragma once
// Conversion between Python array-likes and the flat arrays the mesh is built from, with every check
// made before the mesh is touched. Each function throws ValueError (wrong shape, type or non-finite
// value) or IndexError (an index outside its range) with a message that names the argument and the
// offending entry (counted from 0).

#include <string>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace moxpython {

// An (N, pColumns) array-like of finite real numbers (pRows >= 0: exactly pRows rows), row after row.
std::vector<double> ToFiniteRows(pybind11::handle pValues, const std::string& pName, int pColumns,
                                 long long pRows = -1);

// A one-dimensional array-like of integers (pCount >= 0: exactly pCount entries), each in pMin .. pMax.
std::vector<int> ToIndices(pybind11::handle pValues, const std::string& pName, long long pCount, long long pMin,
                           long long pMax);

struct PolygonArrays {
    std::vector<int> mSizes;
    std::vector<int> mVertices;
};

// The polygons of Mesh.from_arrays: an (M, k) integer array-like, a list of integer sequences (sizes may
// differ), or a tuple (sizes, indices); every polygon of at least one vertex, every index in
// 0 .. pControlPointCount - 1.
PolygonArrays ToPolygons(pybind11::handle pPolygons, int pControlPointCount);

// New numpy arrays holding copies.
pybind11::array_t<int> IntArray(const int* pValues, size_t pCount);
pybind11::array_t<double> DoubleRows(size_t pRows, size_t pColumns);

}  // namespace moxpython
