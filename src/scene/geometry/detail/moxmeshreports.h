#pragma once
// The report texts of the mesh operations (report file "scene/geometry/moxmesh"), each named by what went
// wrong. The texts are part of the behaviour: hosts and tests match them byte for byte.

#include "core/base/moxreporttext.h"

namespace moxsdk {
namespace detail {
namespace meshreports {

// ---- Working memory --------------------------------------------------------------------------------------

inline constexpr MoxReportText sgNoNextCornerMemory{
    "lNextCorner", "memory for the next corner of every polygon vertex ran out; the component maps are left empty"};
inline constexpr MoxReportText sgNoPolygonFillMemory{
    "lPolygonFill", "memory for the fill count of every polygon ran out; the component maps are left empty"};
inline constexpr MoxReportText sgNoCornerTableMemory{
    "lCornerTable", "memory for the corner table of every control point ran out; the component maps are left empty"};
inline constexpr MoxReportText sgNoDirectedEdgesMemory{
    "lDirectedEdges", "memory for the set of directed edges ran out; the component maps are left empty"};
inline constexpr MoxReportText sgNoV2PVCountMemory{
    "Vertex2PVCount", "memory for the corner count of every control point ran out; the map is not built"};
inline constexpr MoxReportText sgNoV2PVOffsetMemory{
    "Vertex2PVOffset", "memory for the corner offsets of every control point ran out; the map is not built"};
inline constexpr MoxReportText sgNoV2PVCounterMemory{
    "Vertex2PVCounter", "memory for the fill counters of every control point ran out; the map is not built"};
inline constexpr MoxReportText sgNoV2PVMemory{
    "Vertex2PV", "memory for the corners of every control point ran out; the map is not built"};
inline constexpr MoxReportText sgNoStartsMemory{
    "lStarts", "memory for grouping the edges by control point ran out; the edge set is left unsorted"};
inline constexpr MoxReportText sgNoKeysMemory{
    "lKeys", "memory for the keys of the edges ran out; the edges are added to the edge set one by one"};
inline constexpr MoxReportText sgNoSortedMemory{
    "lSorted", "memory for sorting the keys of the edges ran out; a slower sort is used"};
inline constexpr MoxReportText sgNoFreedMemory{
    "lFreed", "memory for the list of freed edges ran out; no duplicated edge is removed"};
inline constexpr MoxReportText sgNoEdgeStartsMemory{
    "lEdgeStarts", "memory for the known control-point pairs ran out; the edge table stops there"};
inline constexpr MoxReportText sgNoFirstPositionsMemory{
    "mFirst", "memory for the edge positions of the polygon vertices ran out; edges are looked up one by one"};
inline constexpr MoxReportText sgNoOtherPositionsMemory{
    "mOthers", "memory for the edge positions of the polygon vertices ran out; edges are looked up one by one"};
inline constexpr MoxReportText sgNoTangentMemory{
    "lTangents", "memory for the per-polygon-vertex tangents ran out; no tangents are made"};
inline constexpr MoxReportText sgNoBinormalMemory{
    "lBinormals", "memory for the per-polygon-vertex binormals ran out; no tangents are made"};
inline constexpr MoxReportText sgNoTangentRecordMemory{
    "lData", "memory for the tangent records of the polygon vertices ran out; no tangents are made"};
inline constexpr MoxReportText sgNoSplitRecord{
    "dva != NULL", "a split record is missing: memory ran out, or a control point lies past the mesh's control points"};

// ---- Topology ---------------------------------------------------------------------------------------------

inline constexpr MoxReportText sgPolygonsNotBackToBack{
    "i + 1 == lPolys[ lPolygonIndex ].mIndex",
    "a polygon does not start where the previous one ends in the polygon-vertex array"};
inline constexpr MoxReportText sgVertexOutsideControlPoints{
    "Vertex >= 0 && Vertex < lControlPointsCount",
    "a polygon vertex names a control point outside the mesh's; it is left out of the map"};
inline constexpr MoxReportText sgNegativeControlPoint{
    "lCurrentVertexIndex >= 0", "a polygon vertex names a negative control point; the split stops"};
inline constexpr MoxReportText sgCornerOutsideControlPoints{
    "(lCurrentIndex >= 0 && lPreviousIndex >= 0 && lNextIndex >= 0)",
    "a polygon names a control point outside the mesh's; the winding cannot be checked"};
inline constexpr MoxReportText sgUnreadableCorner{"pv >= 0",
                                                  "a polygon vertex names no control point; no tangents are made"};
inline constexpr MoxReportText sgNoControlPoints{"lPoints != NULL",
                                                 "the mesh has no control points; no normals are computed"};
inline constexpr MoxReportText sgFailed{
    "false", "an argument or a polygon's control point is out of range; the operation gives its failure value"};
inline constexpr MoxReportText sgPositionOutsideVertices{
    "mPolygons[pPolygonIndex].mIndex + pPositionInPolygon < mPolygonVertices.GetCount()",
    "the polygon vertex asked for lies past the polygon-vertex array"};

// ---- Edges ------------------------------------------------------------------------------------------------

inline constexpr MoxReportText sgEdgeOutsideVertices{
    "mEdgeArray[i] >= 0 && mEdgeArray[i] < mPolygonVertices.GetCount()",
    "an edge names no polygon vertex; it is left out of the component maps"};
inline constexpr MoxReportText sgEdgeStartOutside{
    "lV1 < lControlPointCount",
    "an edge starts at a control point past the mesh's; it is left out of the component maps"};
inline constexpr MoxReportText sgEdgeStartPastControlPoints{
    "lStartVertexIndex < lControlPointsCount",
    "an edge starts at a control point past the mesh's; it is left out of the edge set"};
inline constexpr MoxReportText sgVertexNotInEdges{
    "value != -1", "a polygon vertex that starts an edge is missing from the edge array; its edge is -1"};
inline constexpr MoxReportText sgNoFillFunction{"FillFct != NULL",
                                                "no fill function was given; the edge table is only walked"};
inline constexpr MoxReportText sgEdgeAtLastVertex{
    "mEdgeArray[pEdgeIndex] + 1 < mPolygonVertices.GetCount()",
    "the edge starts at the last polygon vertex, so its end is read past the array"};
inline constexpr MoxReportText sgEdgeCountNotVertexCount{
    "mEdgeArray.GetCount() == mPolygonVertices.GetCount()",
    "the merge expects one edge per polygon vertex and the mesh has another count"};

// ---- Layer elements ---------------------------------------------------------------------------------------

inline constexpr MoxReportText sgNoLayer0{"GetLayer(0)", "the mesh has no layer 0; its normals are not split"};
inline constexpr MoxReportText sgNoNormalArray{"isvalid && direct != NULL",
                                               "the normals of layer 0 or their values are missing"};
inline constexpr MoxReportText sgNoNormalValues{"isvalid && direct",
                                                "the normals of layer 0 or their values are missing"};
inline constexpr MoxReportText sgNoSplitNormals{
    "isvalid && lNormals", "the normals of layer 0 or their values are missing; the split leaves normals alone"};
inline constexpr MoxReportText sgNormalIndexOutside{
    "index >= 0 && index < GetLayer(0)->GetNormals()->GetDirectArray().GetCount()",
    "a control point's normal index lies outside the normal values"};
inline constexpr MoxReportText sgNegativeNormalIndex{"index >= 0", "a control point's normal index is negative"};
inline constexpr MoxReportText sgNormalIndicesNotPerPoint{
    "GetLayer(0)->GetNormals()->GetIndexArray().GetCount() == GetControlPointsCount()",
    "the normal indices of layer 0 are not one per control point; the winding cannot be checked"};
inline constexpr MoxReportText sgNoUVIndex{"-1 != lUVindex", "a polygon vertex has no UV index"};
inline constexpr MoxReportText sgEdgeSmoothingIndexed{
    "lReferenceMode == MoxLayerElement::eDirect",
    "a smoothing by edge is not direct; its values are read as if they were"};
inline constexpr MoxReportText sgSmoothingMappingUnsupported{
    "lMappingMode == MoxLayerElement::eByPolygon || lMappingMode == MoxLayerElement::eByEdge",
    "a smoothing is neither by polygon nor by edge; it is ignored"};
inline constexpr MoxReportText sgVertexIndexOutside{"index into mPolygonVertices out-of-range",
                                                    "the polygon vertex asked for lies past the polygon-vertex array"};
inline constexpr MoxReportText sgMappingUnsupported{"MappingMode not supported",
                                                    "the element's mapping mode cannot be read this way"};
inline constexpr MoxReportText sgIndexArrayIndexOutside{
    "index into IndexArray out-of-range", "the element's index array is too short for the component asked for"};
inline constexpr MoxReportText sgDirectArrayIndexOutside{"index into DirectArray out-of-range",
                                                         "the element's index points past its values"};
inline constexpr MoxReportText sgNoControlPointGroups{
    "lGroups.Valid()", "the corners of every control point could not be gathered; the normals are left alone"};

// ---- Deformers --------------------------------------------------------------------------------------------

inline constexpr MoxReportText sgNoCluster{"lCluster != NULL", "a skin has an empty cluster slot; it is skipped"};
inline constexpr MoxReportText sgNoTargetShape{"lCurrentShape != NULL",
                                               "a blend-shape channel has an empty target shape slot; it is skipped"};
inline constexpr MoxReportText sgShapeNormalCount{
    "direct->GetCount() == lCurrentShape->GetControlPointsCount()",
    "a target shape has not one normal per control point; only the normals it has are split"};

}  // namespace meshreports
}  // namespace detail
}  // namespace moxsdk
