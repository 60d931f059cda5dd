#pragma once
// ObjNormalFilter: takes the normals out of OBJ text as it is written.
//
// Assimp's OBJ exporter generates smooth normals (its own, by vertex proximity) for a mesh that has
// none, and writes them. The writer passes the OBJ text of a mesh without normals through this filter,
// so that the file holds what the mesh holds: `vn` lines (and the comment that counts them) are dropped,
// and each face corner `v/vt/vn` or `v//vn` loses its normal index. Other lines pass unchanged. Text may
// arrive in pieces of any size; lines are completed across pieces.

#include <string>

namespace moxmeshtool {

class ObjNormalFilter {
public:
    // The filtered text of every line that pText completes; the rest waits for the next piece.
    std::string Feed(const char* pText, size_t pSize);
    // The filtered text of what is left (a last line without a line break).
    std::string Finish();

private:
    static std::string FilterLine(const std::string& pLine);

    std::string mPending;
};

}  // namespace moxmeshtool
