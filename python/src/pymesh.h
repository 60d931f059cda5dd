#pragma once
// moxsdk.Mesh: one mesh of the library (with the manager that owns it) for Python.
//
// Rules every method keeps: arguments are checked completely before the mesh changes (ValueError,
// IndexError); the GIL is released while the library walks the mesh; the library's reports of the call
// arrive afterwards as MeshWarning; a mesh is used by one call at a time (a second thread gets
// RuntimeError instead of a data race).

#include <memory>
#include <type_traits>

#include <pybind11/pybind11.h>

#include "io/managedmesh.h"
#include "pyreports.h"

namespace moxpython {

class PyMesh {
public:
    explicit PyMesh(std::unique_ptr<moxmeshtool::ManagedMesh> pMesh) : mMesh(std::move(pMesh)) {}

    moxsdk::MoxMesh& Mesh() const { return mMesh->Mesh(); }
    moxmeshtool::ManagedMesh& Managed() const { return *mMesh; }

    bool mBusy = false;
    // A weak reference to the object that numpy views of the points keep alive (None until the first).
    pybind11::object mPointsExport;

private:
    std::unique_ptr<moxmeshtool::ManagedMesh> mMesh;
};

// RuntimeError when another thread's call is using the mesh. With the GIL held, nothing can start
// using it until the GIL is released, so reading the mesh after this check is safe.
void RequireIdle(const PyMesh& pMesh);

// Marks the mesh in use for one call; RuntimeError when another thread's call is using it.
class BusyGuard {
public:
    explicit BusyGuard(PyMesh& pMesh);
    ~BusyGuard() { mMesh.mBusy = false; }
    BusyGuard(const BusyGuard&) = delete;
    BusyGuard& operator=(const BusyGuard&) = delete;

private:
    PyMesh& mMesh;
};

// Runs pWork() with the GIL released, then issues the library's reports of the run as warnings.
template <class WORK>
auto Released(WORK pWork) -> decltype(pWork())
{
    ReportCollector lReports;
    if constexpr (std::is_void_v<decltype(pWork())>) {
        {
            pybind11::gil_scoped_release lRelease;
            pWork();
        }
        lReports.Emit();
    } else {
        auto lResult = [&pWork] {
            pybind11::gil_scoped_release lRelease;
            return pWork();
        }();
        lReports.Emit();
        return lResult;
    }
}

// Released, on one mesh marked busy: pWork(moxsdk::MoxMesh&).
template <class WORK>
auto Walk(PyMesh& pMesh, WORK pWork)
{
    BusyGuard lGuard(pMesh);
    return Released([&pMesh, &pWork] { return pWork(pMesh.Mesh()); });
}

// Defines moxsdk.Mesh in pModule.
void DefineMesh(pybind11::module_& pModule);

}  // namespace moxpython
