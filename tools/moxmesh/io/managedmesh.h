#pragma once
// ManagedMesh: one mesh together with the manager that owns it, as the tool reads, processes and writes
// it, and what the reader had to say about the file.

#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"
#include "moxsdk/scene/moxmanager.h"

namespace moxmeshtool {

class ManagedMesh {
public:
    // A new manager holding one empty mesh. Throws std::bad_alloc when memory ran out.
    ManagedMesh();
    // Destroys the manager and with it the mesh and every object made in it (materials, skins).
    ~ManagedMesh();
    ManagedMesh(const ManagedMesh&) = delete;
    ManagedMesh& operator=(const ManagedMesh&) = delete;

    moxsdk::MoxManager& Manager() const { return *mManager; }
    moxsdk::MoxMesh& Mesh() const { return *mMesh; }

    // The format read, with the library that read it, e.g. "OBJ (tinyobjloader)".
    std::string mFormat;
    // Findings that did not stop the reader (a missing material library, skipped line primitives, ...).
    std::vector<std::string> mNotes;

private:
    moxsdk::MoxManager* mManager;
    moxsdk::MoxMesh* mMesh = nullptr;
};

}  // namespace moxmeshtool
