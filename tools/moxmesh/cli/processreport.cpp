#include "cli/processreport.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include <openssl/evp.h>
#include <nlohmann/json.hpp>

#include "io/toolerror.h"
#include "pipeline/pipelinesteps.h"

namespace moxmeshtool {
namespace {

using Json = nlohmann::ordered_json;  // keys in the order commands.h lists them

constexpr size_t sgDigestChunk = 1 << 20;

struct FileCloser {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};
struct DigestContextFree {
    void operator()(EVP_MD_CTX* pContext) const { EVP_MD_CTX_free(pContext); }
};

std::string Hex(const unsigned char* pBytes, unsigned int pCount)
{
    static const char sgDigits[] = "0123456789abcdef";
    std::string lText;
    for (unsigned int i = 0; i < pCount; ++i) {
        lText += sgDigits[pBytes[i] >> 4];
        lText += sgDigits[pBytes[i] & 15];
    }
    return lText;
}

Json ToJson(const MeshCounts& pCounts)
{
    return Json{{"control_points", pCounts.mControlPoints},
                {"polygons", pCounts.mPolygons},
                {"polygon_vertices", pCounts.mPolygonVertices},
                {"edges", pCounts.mEdges},
                {"uv_sets", pCounts.mUVSets}};
}

Json ToJson(const FileDigest& pDigest)
{
    return Json{{"path", pDigest.mPath}, {"bytes", pDigest.mBytes}, {"sha256", pDigest.mSha256}};
}

Json ToJson(const std::vector<ReportCount>& pReports)
{
    Json lList = Json::array();
    for (const ReportCount& lReport : pReports)
        lList.push_back(Json{{"file", lReport.mFile},
                             {"function", lReport.mFunction},
                             {"message", lReport.mMessage},
                             {"count", lReport.mCount}});
    return lList;
}

Json WrittenCounts(const SceneSummary& pScene)
{
    return Json{{"polygons", pScene.mPolygons},
                {"triangles", pScene.mTriangles},
                {"vertices", pScene.mVertices},
                {"skipped_polygons", pScene.mSkippedPolygons}};
}

// The steps in order, and the library reports of all of them merged.
void AddSteps(const std::vector<StepRecord>& pSteps, Json& pReport)
{
    Json lSteps = Json::array();
    std::vector<ReportCount> lAll;
    double lTotal = 0.0;
    for (const StepRecord& lStep : pSteps) {
        lSteps.push_back(Json{{"name", lStep.mName},
                              {"ms", lStep.mSeconds * 1e3},
                              {"result", lStep.mResult},
                              {"library_reports", ToJson(lStep.mReportCounts)}});
        for (const ReportCount& lReport : lStep.mReportCounts) AddReportCount(lReport, lAll);
        lTotal += lStep.mSeconds;
    }
    pReport["steps"] = lSteps;
    pReport["total_ms"] = lTotal * 1e3;
    pReport["library_reports"] = ToJson(lAll);
}

}  // namespace

FileDigest DigestFile(const std::string& pPath)
{
    const std::unique_ptr<std::FILE, FileCloser> lFile(std::fopen(pPath.c_str(), "rb"));
    if (!lFile) throw ToolError(pPath, std::string("cannot read: ") + std::strerror(errno));
    const std::unique_ptr<EVP_MD_CTX, DigestContextFree> lContext(EVP_MD_CTX_new());
    if (!lContext || EVP_DigestInit_ex(lContext.get(), EVP_sha256(), nullptr) != 1)
        throw ToolError(pPath, "cannot compute its SHA-256 digest");
    FileDigest lDigest;
    lDigest.mPath = pPath;
    std::vector<unsigned char> lChunk(sgDigestChunk);
    size_t lRead = 0;
    while ((lRead = std::fread(lChunk.data(), 1, lChunk.size(), lFile.get())) > 0) {
        EVP_DigestUpdate(lContext.get(), lChunk.data(), lRead);
        lDigest.mBytes += lRead;
    }
    if (std::ferror(lFile.get())) throw ToolError(pPath, "cannot read: read error");
    unsigned char lValue[EVP_MAX_MD_SIZE];
    unsigned int lSize = 0;
    EVP_DigestFinal_ex(lContext.get(), lValue, &lSize);
    lDigest.mSha256 = Hex(lValue, lSize);
    return lDigest;
}

MeshCounts CountMesh(const moxsdk::MoxMesh& pMesh)
{
    MeshCounts lCounts;
    lCounts.mControlPoints = pMesh.GetControlPointsCount();
    lCounts.mPolygons = pMesh.GetPolygonCount();
    lCounts.mPolygonVertices = pMesh.GetPolygonVertexCount();
    lCounts.mEdges = pMesh.GetMeshEdgeCount();
    lCounts.mUVSets = CountUVSets(pMesh);
    return lCounts;
}

void AddDigests(ProcessReport& pReport)
{
    pReport.mInput = DigestFile(pReport.mInputPath);
    pReport.mOutputs.clear();
    for (const std::string& lFile : pReport.mWritten.mFiles) pReport.mOutputs.push_back(DigestFile(lFile));
}

std::string ToJson(const ProcessReport& pReport)
{
    Json lInput = ToJson(pReport.mInput);
    lInput["path"] = pReport.mInputPath;
    lInput["format"] = pReport.mInputFormat;
    Json lOutput = Json::object();
    for (const FileDigest& lFile : pReport.mOutputs)
        if (lFile.mPath == pReport.mOutputPath) lOutput = ToJson(lFile);
    lOutput["path"] = pReport.mOutputPath;
    lOutput["format"] = FormatName(pReport.mWritten.mFormat);
    lOutput["files"] = Json::array();
    for (const FileDigest& lFile : pReport.mOutputs) lOutput["files"].push_back(ToJson(lFile));
    Json lReport = Json::object();
    lReport["input"] = lInput;
    lReport["output"] = lOutput;
    lReport["counts"] = Json{{"read", ToJson(pReport.mRead)},
                             {"processed", ToJson(pReport.mProcessed)},
                             {"written", WrittenCounts(pReport.mWritten.mScene)}};
    AddSteps(pReport.mSteps, lReport);
    return lReport.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace moxmeshtool
