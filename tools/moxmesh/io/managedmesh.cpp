#include "io/managedmesh.h"

#include <new>

namespace moxmeshtool {

ManagedMesh::ManagedMesh() : mManager(moxsdk::MoxManager::Create())
{
    if (!mManager) throw std::bad_alloc();
    mMesh = moxsdk::MoxMesh::Create(mManager, "mesh");
    if (!mMesh) {
        mManager->Destroy();
        throw std::bad_alloc();
    }
}

ManagedMesh::~ManagedMesh()
{
    mManager->Destroy();
}

}  // namespace moxmeshtool
