#include "cli/reportprinter.h"

#include <algorithm>
#include <iomanip>

namespace moxmeshtool {
namespace {

constexpr int sgTimeWidth = 10;
constexpr size_t sgLineWidth = 120;
constexpr int sgInfoNameWidth = 20;

void PrintInfoLine(const std::string& pName, const std::string& pValue, std::ostream& pOut)
{
    pOut << std::left << std::setw(sgInfoNameWidth) << pName << pValue << '\n';
}

std::string DescribeUVSets(const std::vector<UVSetInfo>& pUVSets)
{
    std::string lText = std::to_string(pUVSets.size());
    for (size_t i = 0; i < pUVSets.size(); ++i)
        lText += (i == 0 ? " (" : ", ") + std::string("\"") + pUVSets[i].mName + "\" on layer " +
                 std::to_string(pUVSets[i].mLayer) + ", " + std::to_string(pUVSets[i].mValues) + " values";
    return pUVSets.empty() ? lText : lText + ")";
}

const char* DescribeWinding(EWinding pWinding)
{
    switch (pWinding) {
        case EWinding::eCounterClockwise:
            return "counter-clockwise (the normals agree with counter-clockwise polygons)";
        case EWinding::eNotCounterClockwise:
            return "not counter-clockwise (no normal agrees with counter-clockwise polygons: clockwise winding or "
                   "inverted normals)";
        case EWinding::eNoNormals:
            break;
    }
    return "unknown (no normals to compare with)";
}

// pText broken after its commas into lines of at most pWidth characters where it can be.
std::vector<std::string> WrapAtCommas(const std::string& pText, size_t pWidth)
{
    std::vector<std::string> lLines(1);
    size_t lAt = 0;
    while (lAt < pText.size()) {
        const size_t lComma = pText.find(", ", lAt);
        const size_t lEnd = lComma == std::string::npos ? pText.size() : lComma + 1;
        const std::string lPiece = pText.substr(lAt, lEnd - lAt);
        if (!lLines.back().empty() && lLines.back().size() + 1 + lPiece.size() > pWidth) lLines.emplace_back();
        lLines.back() += (lLines.back().empty() ? "" : " ") + lPiece;
        lAt = lEnd == pText.size() ? lEnd : lEnd + 1;
    }
    return lLines;
}

}  // namespace

void PrintTitle(const std::string& pTitle, std::ostream& pOut)
{
    const std::vector<std::string> lLines = WrapAtCommas(pTitle, sgLineWidth);
    for (size_t i = 0; i < lLines.size(); ++i) pOut << (i == 0 ? "" : "  ") << lLines[i] << '\n';
    pOut << '\n';
}

void PrintSteps(const std::vector<StepRecord>& pRecords, std::ostream& pOut)
{
    size_t lNameWidth = 4;
    for (const StepRecord& lRecord : pRecords) lNameWidth = std::max(lNameWidth, lRecord.mName.size());
    double lTotal = 0.0;
    for (const StepRecord& lRecord : pRecords) {
        const std::string lIndent(2 + lNameWidth + sgTimeWidth + 2, ' ');
        const size_t lWidth = sgLineWidth > lIndent.size() + 40 ? sgLineWidth - lIndent.size() : 40;
        const std::vector<std::string> lLines = WrapAtCommas(lRecord.mResult, lWidth);
        pOut << "  " << std::left << std::setw(static_cast<int>(lNameWidth)) << lRecord.mName << std::right
             << std::setw(sgTimeWidth) << FormatSeconds(lRecord.mSeconds) << "  " << lLines[0] << '\n';
        for (size_t i = 1; i < lLines.size(); ++i) pOut << lIndent << lLines[i] << '\n';
        if (lRecord.mReports > 0)
            pOut << lIndent << "(" << lRecord.mReports
                 << (lRecord.mReports == 1 ? " library report: " : " library reports, the first: ")
                 << lRecord.FirstReport() << ")\n";
        lTotal += lRecord.mSeconds;
    }
    pOut << "  " << std::left << std::setw(static_cast<int>(lNameWidth)) << "total" << std::right
         << std::setw(sgTimeWidth) << FormatSeconds(lTotal) << '\n';
}

void PrintInfo(const std::string& pFile, const std::string& pFormat, const MeshInfo& pInfo, std::ostream& pOut)
{
    PrintInfoLine("file", pFile, pOut);
    PrintInfoLine("format", pFormat, pOut);
    PrintInfoLine("control points", std::to_string(pInfo.mControlPoints), pOut);
    PrintInfoLine("polygons", pInfo.mPolygons, pOut);
    PrintInfoLine("polygon vertices", std::to_string(pInfo.mPolygonVertices), pOut);
    PrintInfoLine("edges", std::to_string(pInfo.mEdges.mEdges), pOut);
    PrintInfoLine("boundary edges", std::to_string(pInfo.mEdges.mBoundary), pOut);
    PrintInfoLine("non-manifold edges", std::to_string(pInfo.mEdges.mNonManifold), pOut);
    PrintInfoLine("bad polygons", std::to_string(pInfo.mBadPolygons), pOut);
    PrintInfoLine("UV sets", DescribeUVSets(pInfo.mUVSets), pOut);
    PrintInfoLine("materials",
                  std::to_string(pInfo.mMaterials) + " (" + std::to_string(pInfo.mMaterialsUsed) + " used)", pOut);
    PrintInfoLine("normals", pInfo.mNormals, pOut);
    PrintInfoLine("winding", DescribeWinding(pInfo.mWinding), pOut);
    if (pInfo.mLibraryReports > 0)
        PrintInfoLine("library reports",
                      std::to_string(pInfo.mLibraryReports) + " (the first: " + pInfo.mFirstLibraryReport + ")", pOut);
}

void PrintNotes(const std::string& pFile, const std::vector<std::string>& pNotes, std::ostream& pOut)
{
    for (const std::string& lNote : pNotes) pOut << "moxmesh: note: " << pFile << ": " << lNote << '\n';
}

}  // namespace moxmeshtool
