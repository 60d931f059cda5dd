#include "pymesh.h"

#include <climits>
#include <cmath>
#include <string>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include "io/meshbuilder.h"
#include "moxsdk/scene/moxsurfacematerial.h"
#include "pipeline/edgesmoothing.h"
#include "pyarrays.h"

namespace py = pybind11;

namespace moxpython {
namespace {

using moxsdk::MoxLayer;
using moxsdk::MoxLayerElement;
using moxsdk::MoxLayerElementArray;
using moxsdk::MoxLayerElementArrayTemplate;
using moxsdk::MoxLayerElementUV;
using moxsdk::MoxMesh;
using moxsdk::MoxVector2;
using moxsdk::MoxVector4;

static_assert(sizeof(MoxVector4) == 4 * sizeof(double), "points are viewed as rows of four doubles");

// Material indices go up to this; one material object is made per index.
constexpr int sgMaxMaterial = 65535;

// What numpy views of Mesh.points keep alive: the mesh.
struct PointsExport {
    py::object mMesh;
};

// BufferError when numpy views of the points exist: pOperation would move the points under them.
void RequireNoPointViews(const PyMesh& pMesh, const char* pOperation)
{
    if (pMesh.mPointsExport && !pMesh.mPointsExport().is_none())
        throw py::buffer_error(
            std::string(pOperation) +
            ": numpy views of mesh.points exist and the control points would move; delete them first");
}

// pArray sized to pCount values, filled by pFill(values).
template <class T, class FILL>
void FillArray(MoxLayerElementArrayTemplate<T>& pArray, int pCount, FILL pFill)
{
    pArray.SetCount(pCount);
    if (pArray.GetCount() != pCount) throw std::bad_alloc();
    if (pCount == 0) return;
    T* lValues = pArray.GetLocked(MoxLayerElementArray::eReadWriteLock);
    pFill(lValues);
    pArray.Release(&lValues);
}

// Layer pIndex, creating the layers up to it.
MoxLayer& LayerAt(MoxMesh& pMesh, int pIndex)
{
    while (pMesh.GetLayerCount() <= pIndex)
        if (pMesh.CreateLayer() < 0) throw std::bad_alloc();
    return *pMesh.GetLayer(pIndex);
}

// Every UV set in the order tangent generation visits them: layers in order, channels in order.
template <class VISIT>
void ForEachUVSet(const MoxMesh& pMesh, VISIT pVisit)
{
    for (int lLayer = 0; lLayer < pMesh.GetLayerCount(); ++lLayer)
        for (int lType = MoxLayerElement::eTextureChannel0; lType <= MoxLayerElement::eTextureChannel16; ++lType)
            if (const MoxLayerElementUV* lUVs =
                    pMesh.GetLayer(lLayer)->GetUVs(static_cast<MoxLayerElement::EType>(lType)))
                pVisit(*lUVs, lLayer);
}

// The layer of the UV set named pName (the first UV set for None); -1 when there is none. ValueError for
// a name no UV set has.
int UVSetLayer(const MoxMesh& pMesh, const py::object& pName)
{
    int lFound = -1;
    const bool lAny = pName.is_none();
    const std::string lName = lAny ? std::string() : pName.cast<std::string>();
    ForEachUVSet(pMesh, [&](const MoxLayerElementUV& pUVs, int pLayer) {
        if (lFound < 0 && (lAny || lName == pUVs.GetName())) lFound = pLayer;
    });
    if (lFound < 0 && !lAny) throw py::value_error("no UV set named '" + lName + "'");
    return lFound;
}

// A (P, pColumns) array of the element's value at each polygon vertex, read through the per-polygon-vertex
// lookup; None when a corner has no value (the lookup reports why).
py::object PerPolygonVertexRows(PyMesh& pMesh, const moxsdk::MoxLayerElementTemplate<MoxVector4>* pElement,
                                int pColumns)
{
    auto lRows = DoubleRows(static_cast<size_t>(pMesh.Mesh().GetPolygonVertexCount()), pColumns);
    double* lOut = lRows.mutable_data();
    const bool lComplete = Walk(pMesh, [pElement, pColumns, lOut](MoxMesh& pMoxMesh) {
        double* lWrite = lOut;
        for (int p = 0; p < pMoxMesh.GetPolygonCount(); ++p)
            for (int i = 0; i < pMoxMesh.GetPolygonSize(p); ++i) {
                MoxVector4 lValue;
                if (!pMoxMesh.GetPolygonVertexLayerElementValue(pElement, p, i, lValue, false)) return false;
                for (int c = 0; c < pColumns; ++c) *lWrite++ = lValue[c];
            }
        return true;
    });
    return lComplete ? py::object(lRows) : py::object(py::none());
}

py::array_t<int> ComponentArray(const moxsdk::MoxArray<int>& pArray)
{
    return IntArray(pArray.GetArray(), static_cast<size_t>(pArray.GetCount()));
}

// (offsets, data) of a component map; data ends where the last list ends.
py::tuple ComponentMapArrays(const MoxMesh::ComponentMap& pMap)
{
    const int lEnd = pMap.mOffsets.GetCount() > 0 ? pMap.mOffsets[pMap.mOffsets.GetCount() - 1] : 0;
    return py::make_tuple(ComponentArray(pMap.mOffsets), IntArray(pMap.mData.GetArray(), static_cast<size_t>(lEnd)));
}

// ---- Construction and arrays ---------------------------------------------------------------------------

std::unique_ptr<PyMesh> FromArrays(const py::object& pPoints, const py::object& pPolygons)
{
    moxmeshtool::MeshData lData;
    // The mesh data keeps its arrays in the library's storage: the converted arrays are copied in.
    const std::vector<double> lPositions = ToFiniteRows(pPoints, "points", 3);
    lData.mPositions.assign(lPositions.begin(), lPositions.end());
    if (lData.ControlPointCount() > static_cast<size_t>(INT_MAX))
        throw py::value_error("points: more than 2147483647 control points");
    const PolygonArrays lPolygons = ToPolygons(pPolygons, static_cast<int>(lData.ControlPointCount()));
    lData.mPolygonSizes.assign(lPolygons.mSizes.begin(), lPolygons.mSizes.end());
    lData.mPolygonVertices.assign(lPolygons.mVertices.begin(), lPolygons.mVertices.end());
    auto lMesh = std::make_unique<PyMesh>(std::make_unique<moxmeshtool::ManagedMesh>());
    Walk(*lMesh, [&lData, &lMesh](MoxMesh&) { moxmeshtool::BuildMesh(lData, lMesh->Managed()); });
    return lMesh;
}

py::array Points(py::object pSelf)
{
    PyMesh& lMesh = pSelf.cast<PyMesh&>();
    BusyGuard lGuard(lMesh);
    const int lCount = lMesh.Mesh().GetControlPointsCount();
    if (lCount == 0) return DoubleRows(0, 3);
    py::object lExport = lMesh.mPointsExport ? lMesh.mPointsExport() : py::object(py::none());
    if (lExport.is_none()) {
        lExport = py::cast(PointsExport{pSelf});
        lMesh.mPointsExport = py::weakref(lExport);
    }
    constexpr auto lRowStride = static_cast<py::ssize_t>(sizeof(MoxVector4));
    return py::array_t<double>({static_cast<py::ssize_t>(lCount), py::ssize_t{3}},
                               {lRowStride, static_cast<py::ssize_t>(sizeof(double))},
                               &lMesh.Mesh().GetControlPoints()[0][0], lExport);
}

// The mesh for reading under the GIL (RequireIdle).
const MoxMesh& Idle(const PyMesh& pMesh)
{
    RequireIdle(pMesh);
    return pMesh.Mesh();
}

py::array_t<int> PolygonSizes(PyMesh& pMesh)
{
    const MoxMesh& lMesh = Idle(pMesh);
    py::array_t<int> lSizes(lMesh.GetPolygonCount());
    int* lOut = lSizes.mutable_data();
    for (int p = 0; p < lMesh.GetPolygonCount(); ++p) lOut[p] = lMesh.mPolygons[p].mSize;
    return lSizes;
}

// ---- Attributes ----------------------------------------------------------------------------------------

py::object Normals(PyMesh& pMesh)
{
    if (!Idle(pMesh).GetElementNormal(0)) return py::none();
    moxsdk::MoxArray<MoxVector4> lNormals;
    if (!Walk(pMesh, [&lNormals](MoxMesh& pMoxMesh) { return pMoxMesh.GetPolygonVertexNormals(lNormals); }))
        return py::none();
    auto lRows = DoubleRows(static_cast<size_t>(lNormals.GetCount()), 3);
    double* lOut = lRows.mutable_data();
    Released([&lNormals, lOut] {
        for (int i = 0; i < lNormals.GetCount(); ++i)
            for (int c = 0; c < 3; ++c) lOut[3 * static_cast<size_t>(i) + c] = lNormals[i][c];
    });
    return lRows;
}

py::object Tangents(PyMesh& pMesh, const py::object& pUVSet, bool pBinormals)
{
    const int lLayer = UVSetLayer(Idle(pMesh), pUVSet);
    if (lLayer < 0) return py::none();
    const MoxLayer* lLayerObject = pMesh.Mesh().GetLayer(lLayer);
    const moxsdk::MoxLayerElementTemplate<MoxVector4>* lElement = nullptr;
    if (pBinormals)
        lElement = lLayerObject->GetBinormals();
    else
        lElement = lLayerObject->GetTangents();
    if (!lElement) return py::none();
    return PerPolygonVertexRows(pMesh, lElement, pBinormals ? 3 : 4);
}

std::vector<std::string> UVSetNames(PyMesh& pMesh)
{
    std::vector<std::string> lNames;
    ForEachUVSet(Idle(pMesh), [&lNames](const MoxLayerElementUV& pUVs, int) { lNames.emplace_back(pUVs.GetName()); });
    return lNames;
}

py::object UVs(PyMesh& pMesh, const py::object& pName)
{
    if (UVSetLayer(Idle(pMesh), pName) < 0) return py::none();
    const std::string lName = pName.is_none() ? std::string() : pName.cast<std::string>();
    moxsdk::MoxArray<MoxVector2> lUVs;
    if (!Walk(pMesh, [&](MoxMesh& pMoxMesh) {
            return pMoxMesh.GetPolygonVertexUVs(pName.is_none() ? nullptr : lName.c_str(), lUVs);
        }))
        return py::none();
    auto lRows = DoubleRows(static_cast<size_t>(lUVs.GetCount()), 2);
    double* lOut = lRows.mutable_data();
    for (int i = 0; i < lUVs.GetCount(); ++i) {
        lOut[2 * static_cast<size_t>(i)] = lUVs[i][0];
        lOut[2 * static_cast<size_t>(i) + 1] = lUVs[i][1];
    }
    return lRows;
}

// The UV set named pName, or a new one on the first layer without a UV set in the default channel.
MoxLayerElementUV& UVSetForWriting(MoxMesh& pMesh, const std::string& pName)
{
    MoxLayerElementUV* lFound = nullptr;
    int lFreeLayer = 0;
    for (int lLayer = 0; lLayer < pMesh.GetLayerCount(); ++lLayer) {
        for (int lType = MoxLayerElement::eTextureChannel0; lType <= MoxLayerElement::eTextureChannel16; ++lType) {
            MoxLayerElementUV* lUVs = pMesh.GetLayer(lLayer)->GetUVs(static_cast<MoxLayerElement::EType>(lType));
            if (lUVs && !lFound && pName == lUVs->GetName()) lFound = lUVs;
        }
        if (pMesh.GetLayer(lLayer)->GetUVs() && lFreeLayer == lLayer) lFreeLayer = lLayer + 1;
    }
    if (lFound) return *lFound;
    MoxLayerElementUV* lNew = MoxLayerElementUV::Create(&pMesh, pName.c_str());
    if (!lNew) throw std::bad_alloc();
    LayerAt(pMesh, lFreeLayer).SetUVs(lNew, MoxLayerElement::eTextureChannel0);
    return *lNew;
}

void SetUVs(PyMesh& pMesh, const py::object& pValues, const py::object& pIndices, const std::string& pName)
{
    const int lCorners = Idle(pMesh).GetPolygonVertexCount();
    const std::vector<double> lValues = ToFiniteRows(pValues, "values", 2, pIndices.is_none() ? lCorners : -1);
    const int lValueCount = static_cast<int>(lValues.size() / 2);
    std::vector<int> lIndices;
    if (!pIndices.is_none()) lIndices = ToIndices(pIndices, "indices", lCorners, -1, lValueCount - 1);
    Walk(pMesh, [&](MoxMesh& pMoxMesh) {
        MoxLayerElementUV& lUVs = UVSetForWriting(pMoxMesh, pName);
        lUVs.SetMappingMode(MoxLayerElement::eByPolygonVertex);
        lUVs.SetReferenceMode(pIndices.is_none() ? MoxLayerElement::eDirect : MoxLayerElement::eIndexToDirect);
        FillArray(*lUVs.mDirectArray, lValueCount, [&lValues, lValueCount](MoxVector2* pOut) {
            for (int i = 0; i < lValueCount; ++i) pOut[i] = MoxVector2(lValues[2 * i], lValues[2 * i + 1]);
        });
        FillArray(*lUVs.mIndexArray, static_cast<int>(lIndices.size()),
                  [&lIndices](int* pOut) { std::copy(lIndices.begin(), lIndices.end(), pOut); });
    });
}

void SetMaterials(PyMesh& pMesh, const py::object& pPerPolygon)
{
    const int lPolygons = Idle(pMesh).GetPolygonCount();
    const std::vector<int> lIndices = ToIndices(pPerPolygon, "per_polygon", lPolygons, -1, sgMaxMaterial);
    int lMaterialCount = 0;
    for (int lIndex : lIndices) lMaterialCount = std::max(lMaterialCount, lIndex + 1);
    Walk(pMesh, [&](MoxMesh& pMoxMesh) {
        pMoxMesh.InitMaterialIndices(MoxLayerElement::eByPolygon);
        moxsdk::MoxLayerElementMaterial* lElement = pMoxMesh.GetElementMaterial(0);
        if (!lElement) throw std::bad_alloc();
        for (int m = lElement->mDirectArray->GetCount(); m < lMaterialCount; ++m) {
            auto* lMaterial = moxsdk::MoxSurfaceMaterial::Create(&pMoxMesh, ("material" + std::to_string(m)).c_str());
            if (!lMaterial || lElement->mDirectArray->Add(lMaterial) < 0) throw std::bad_alloc();
        }
        FillArray(*lElement->mIndexArray, lPolygons,
                  [&lIndices](int* pOut) { std::copy(lIndices.begin(), lIndices.end(), pOut); });
    });
}

// Layer 0's smoothing element, replaced by a new one mapped by pMapping and filled with pValues.
void SetSmoothing(PyMesh& pMesh, MoxLayerElement::EMappingMode pMapping, const std::vector<int>& pValues)
{
    Walk(pMesh, [&](MoxMesh& pMoxMesh) {
        auto* lSmoothing = moxsdk::MoxLayerElementSmoothing::Create(&pMoxMesh, "");
        if (!lSmoothing) throw std::bad_alloc();
        LayerAt(pMoxMesh, 0).SetSmoothing(lSmoothing);
        lSmoothing->SetMappingMode(pMapping);
        lSmoothing->SetReferenceMode(MoxLayerElement::eDirect);
        FillArray(*lSmoothing->mDirectArray, static_cast<int>(pValues.size()),
                  [&pValues](int* pOut) { std::copy(pValues.begin(), pValues.end(), pOut); });
    });
}

void RequireEdges(const MoxMesh& pMesh, const char* pOperation)
{
    if (pMesh.GetMeshEdgeCount() == 0 && pMesh.GetPolygonCount() > 0)
        throw py::value_error(std::string(pOperation) + ": the mesh has no edges; call build_edges() first");
}

void SetHardEdges(PyMesh& pMesh, const py::object& pEdgeMask)
{
    RequireEdges(Idle(pMesh), "set_hard_edges");
    std::vector<int> lSoft = ToIndices(pEdgeMask, "edge_mask", Idle(pMesh).GetMeshEdgeCount(), 0, 1);
    for (int& lValue : lSoft) lValue = 1 - lValue;
    SetSmoothing(pMesh, MoxLayerElement::eByEdge, lSoft);
}

py::tuple SmoothByAngle(PyMesh& pMesh, double pDegrees)
{
    if (!std::isfinite(pDegrees) || pDegrees < 0.0)
        throw py::value_error("degrees: expected a finite angle of at least 0, got " + std::to_string(pDegrees));
    RequireEdges(Idle(pMesh), "smooth_by_angle");
    const auto lSummary = Walk(pMesh, [pDegrees](MoxMesh& pMoxMesh) {
        MoxMesh::ComponentMap lEdgeToPolygons;
        MoxMesh::ComponentMap lPolygonToEdges;
        pMoxMesh.ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges);
        return moxmeshtool::SetSmoothingFromAngle(pMoxMesh, lEdgeToPolygons, pDegrees);
    });
    return py::make_tuple(lSummary.mSoft, lSummary.mHard);
}

// ---- Operations ----------------------------------------------------------------------------------------

bool GenerateTangents(PyMesh& pMesh, const py::object& pUVSet, bool pOverwrite)
{
    if (pUVSet.is_none())
        return Walk(pMesh,
                    [pOverwrite](MoxMesh& pMoxMesh) { return pMoxMesh.GenerateTangentsDataForAllUVSets(pOverwrite); });
    UVSetLayer(Idle(pMesh), pUVSet);
    const std::string lName = pUVSet.cast<std::string>();
    return Walk(pMesh, [&lName, pOverwrite](MoxMesh& pMoxMesh) {
        return pMoxMesh.GenerateTangentsData(lName.c_str(), pOverwrite);
    });
}

int MergePoints(PyMesh& pMesh)
{
    RequireNoPointViews(pMesh, "merge_points");
    return Walk(pMesh, [](MoxMesh& pMoxMesh) {
        const int lBefore = pMoxMesh.GetControlPointsCount();
        moxsdk::MoxArray<int> lMergeList;
        if (pMoxMesh.BuildMergeList(lMergeList)) pMoxMesh.MergePointsForPolygonVerteNormals(lMergeList);
        return lBefore - pMoxMesh.GetControlPointsCount();
    });
}

py::tuple ComponentMaps(PyMesh& pMesh)
{
    MoxMesh::ComponentMap lEdgeToPolygons;
    MoxMesh::ComponentMap lPolygonToEdges;
    Walk(pMesh, [&](MoxMesh& pMoxMesh) { pMoxMesh.ComputeComponentMaps(lEdgeToPolygons, lPolygonToEdges); });
    return py::make_tuple(ComponentMapArrays(lEdgeToPolygons), ComponentMapArrays(lPolygonToEdges));
}

py::tuple ControlPointToVertices(PyMesh& pMesh)
{
    MoxMesh::ControlPointToVerticesMap lMap;
    Walk(pMesh, [&lMap](MoxMesh& pMoxMesh) { pMoxMesh.ComputeControlPointToVerticesMap(lMap); });
    // The end of the last list is appended, so that list c is always offsets[c]:offsets[c + 1].
    std::vector<int> lOffsets(lMap.mOffsets.begin(), lMap.mOffsets.end());
    lOffsets.push_back(lMap.mVertices.GetCount());
    return py::make_tuple(IntArray(lOffsets.data(), lOffsets.size()), ComponentArray(lMap.mVertices));
}

}  // namespace

void RequireIdle(const PyMesh& pMesh)
{
    if (pMesh.mBusy) throw std::runtime_error("the mesh is in use by another thread");
}

BusyGuard::BusyGuard(PyMesh& pMesh) : mMesh(pMesh)
{
    RequireIdle(mMesh);
    mMesh.mBusy = true;
}

void DefineMesh(py::module_& pModule)
{
    py::class_<PointsExport>(pModule, "_PointsExport");
    py::class_<PyMesh>(pModule, "Mesh", R"(A polygon mesh: control points, polygons of any size and their attributes.

Make one with Mesh.from_arrays or moxsdk.read. Operations change the mesh only when their name says so.)")
        .def_static("from_arrays", &FromArrays, py::arg("points"), py::arg("polygons"),
                    R"(A mesh from an (N, 3) array-like of positions and its polygons: an (M, k) integer array,
a list of index sequences (sizes may differ), or a tuple (sizes, indices). ValueError or IndexError
for wrong shapes, non-finite positions, empty polygons or indices outside 0 .. N - 1.)")
        .def_property_readonly("points", &Points,
                               "(N, 3) float64 view of the control points: writing it moves the mesh (no copy).")
        .def_property_readonly("polygon_sizes", &PolygonSizes, "int32 vertex count of each polygon (a copy).")
        .def_property_readonly(
            "polygon_vertices",
            [](PyMesh& pMesh) {
                const MoxMesh& lMesh = Idle(pMesh);
                return IntArray(lMesh.GetPolygonVertices(), static_cast<size_t>(lMesh.GetPolygonVertexCount()));
            },
            "int32 control point of each polygon vertex, polygon after polygon (a copy).")
        .def_property_readonly("control_point_count", [](PyMesh& pMesh) { return Idle(pMesh).GetControlPointsCount(); })
        .def_property_readonly("polygon_count", [](PyMesh& pMesh) { return Idle(pMesh).GetPolygonCount(); })
        .def_property_readonly("polygon_vertex_count",
                               [](PyMesh& pMesh) { return Idle(pMesh).GetPolygonVertexCount(); })
        .def_property_readonly("edge_count", [](PyMesh& pMesh) { return Idle(pMesh).GetMeshEdgeCount(); })
        .def_property_readonly(
            "normals", &Normals,
            "(P, 3) normal of each polygon vertex whatever the element's mapping; None without normals.")
        .def_property_readonly("uv_set_names", &UVSetNames, "The names of the UV sets, layer after layer.")
        .def("uvs", &UVs, py::arg("name") = py::none(),
             "(P, 2) UV of each polygon vertex ((0, 0) where unmapped) from the named UV set (the first when None); "
             "None without UV sets.")
        .def(
            "tangents", [](PyMesh& pMesh, const py::object& pName) { return Tangents(pMesh, pName, false); },
            py::arg("name") = py::none(),
            "(P, 4) tangent of each polygon vertex (handedness in w) for the named UV set (the first when None); None "
            "without them.")
        .def(
            "binormals", [](PyMesh& pMesh, const py::object& pName) { return Tangents(pMesh, pName, true); },
            py::arg("name") = py::none(), "(P, 3) binormal of each polygon vertex, as tangents().")
        .def("set_uvs", &SetUVs, py::arg("values"), py::arg("indices") = py::none(), py::arg("name") = "map1",
             R"(Sets the UV set `name` (replacing its values, or adding it on the next free layer): one UV per
polygon vertex, or with `indices` (one per polygon vertex, -1 for none) an index into `values`.)")
        .def("set_materials", &SetMaterials, py::arg("per_polygon"),
             "Material index (-1 .. 65535, -1 for none) of each polygon; materials 'material<i>' are made as needed.")
        .def(
            "set_smoothing_groups",
            [](PyMesh& pMesh, const py::object& pPerPolygon) {
                SetSmoothing(pMesh, MoxLayerElement::eByPolygon,
                             ToIndices(pPerPolygon, "per_polygon", Idle(pMesh).GetPolygonCount(), INT_MIN, INT_MAX));
            },
            py::arg("per_polygon"), "Smoothing group of each polygon (layer 0's smoothing, by polygon).")
        .def("set_hard_edges", &SetHardEdges, py::arg("edge_mask"),
             "True (or 1) for each hard edge of the edge array (layer 0's smoothing, by edge); needs build_edges().")
        .def("smooth_by_angle", &SmoothByAngle, py::arg("degrees"),
             "Edges between polygons at most `degrees` apart become soft, the others hard; needs build_edges(). "
             "Returns (soft, hard).")
        .def(
            "build_edges",
            [](PyMesh& pMesh) {
                return Walk(pMesh, [](MoxMesh& pMoxMesh) {
                    pMoxMesh.BuildMeshEdgeArray();
                    return pMoxMesh.GetMeshEdgeCount();
                });
            },
            "Builds the edge array; returns the edge count.")
        .def(
            "generate_normals",
            [](PyMesh& pMesh, bool pByControlPoint, bool pOverwrite, bool pClockwise) {
                return Walk(pMesh, [=](MoxMesh& pMoxMesh) {
                    return pMoxMesh.GenerateNormals(pOverwrite, pByControlPoint, pClockwise);
                });
            },
            py::arg("by_control_point") = false, py::arg("overwrite") = true, py::arg("clockwise") = false,
            "Generates layer 0's normals (smoothed as the smoothing element says); False without polygons.")
        .def("generate_tangents", &GenerateTangents, py::arg("uv_set") = py::none(), py::arg("overwrite") = true,
             "Generates tangents and binormals for the named UV set (all UV sets when None); needs normals.")
        .def(
            "split_points",
            [](PyMesh& pMesh) {
                RequireNoPointViews(pMesh, "split_points");
                return Walk(pMesh, [](MoxMesh& pMoxMesh) { return pMoxMesh.SplitPoints(); });
            },
            "Gives every polygon vertex its own control point.")
        .def("merge_points", &MergePoints,
             "Merges control points closer than 0.0001 (merge list, then merge); returns how many were removed.")
        .def(
            "remove_bad_polygons",
            [](PyMesh& pMesh) { return Walk(pMesh, [](MoxMesh& pMoxMesh) { return pMoxMesh.RemoveBadPolygons(); }); },
            "Removes degenerate polygons; returns how many.")
        .def("component_maps", &ComponentMaps,
             "((offsets, polygons) per edge, (offsets, edges) per polygon): item i is data[offsets[i]:offsets[i + 1]].")
        .def("control_point_to_vertices", &ControlPointToVertices,
             "(offsets, polygon vertices) per control point: item c is data[offsets[c]:offsets[c + 1]].")
        .def("__repr__", [](PyMesh& pMesh) {
            const MoxMesh& lMesh = Idle(pMesh);
            return "<moxsdk.Mesh: " + std::to_string(lMesh.GetControlPointsCount()) + " control points, " +
                   std::to_string(lMesh.GetPolygonCount()) + " polygons>";
        });
}

}  // namespace moxpython
