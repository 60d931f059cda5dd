#pragma once
// The plain OBJ text that most large files are, read without tinyobjloader and without a copy: `v`, `vt`
// and `vn` statements, faces of 3 to 255 vertices with positive indices (`f 1 2 3`, `f 1/1 2/2 3/3`,
// `f 1//1 ...`, `f 1/1/1 ...`), comments, blank lines and `o`, `g` and `s` statements, which change
// nothing for a mesh read whole.
//
// The result is exactly what tinyobjloader reads from the same text: numbers go through the same
// decimal-to-binary steps (not the correctly rounded ones of strtod), lines end at "\n", "\r\n" or "\r",
// statements start after spaces and tabs. Any other text (materials, lines and points, relative or
// out-of-range indices, numbers with trailing characters, ...) is left to tinyobjloader, which reads it
// and words its warnings and errors.

#include <string>
#include <vector>

namespace moxmeshtool {

// A file's polygons as it states them: one entry per polygon vertex in each index array (-1 where the
// statement leaves the value out), values as read. ParsePlainObj leaves a UV or normal index array empty
// when no face statement gives such an index.
struct ObjArrays {
    std::vector<double> mPositions;  // x, y, z per `v`
    std::vector<double> mNormals;    // x, y, z per `vn`
    std::vector<double> mUVs;        // u, v per `vt`
    std::vector<int> mPolygonSizes;
    std::vector<int> mVertices;
    std::vector<int> mNormalIndices;
    std::vector<int> mUVIndices;
};

// Reads the text [pBegin, pEnd) into pArrays when it is plain OBJ text as above; false (pArrays then
// unspecified) when tinyobjloader must read it.
bool ParsePlainObj(const char* pBegin, const char* pEnd, ObjArrays& pArrays);

}  // namespace moxmeshtool
