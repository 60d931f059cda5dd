#include "tooltestsupport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include "moxsdk/scene/geometry/moxlayerelementreader.h"

namespace moxtooltest {

TempDir::TempDir()
{
    const char* lBase = std::getenv("TMPDIR");
    std::string lTemplate = std::string(lBase && *lBase ? lBase : "/tmp") + "/moxmesh-test-XXXXXX";
    if (!mkdtemp(lTemplate.data())) throw std::runtime_error("cannot make a temporary directory");
    mPath = lTemplate;
}

TempDir::~TempDir()
{
    for (const std::string& lName : Entries()) unlink(File(lName).c_str());
    rmdir(mPath.c_str());
}

std::vector<std::string> TempDir::Entries() const
{
    std::vector<std::string> lNames;
    if (DIR* lDirectory = opendir(mPath.c_str())) {
        while (const dirent* lEntry = readdir(lDirectory)) {
            const std::string lName = lEntry->d_name;
            if (lName != "." && lName != "..") lNames.push_back(lName);
        }
        closedir(lDirectory);
    }
    std::sort(lNames.begin(), lNames.end());
    return lNames;
}

void WriteFile(const std::string& pPath, const std::string& pContent)
{
    std::ofstream lFile(pPath, std::ios::binary);
    lFile << pContent;
    if (!lFile) throw std::runtime_error("cannot write " + pPath);
}

std::string ReadFile(const std::string& pPath)
{
    std::ifstream lFile(pPath, std::ios::binary);
    std::ostringstream lContent;
    lContent << lFile.rdbuf();
    return lContent.str();
}

bool FileExists(const std::string& pPath)
{
    struct stat lStatus;
    return stat(pPath.c_str(), &lStatus) == 0;
}

std::string SampleModel(const std::string& pRelativePath)
{
    const std::string lPath = std::string(MOX_ASSIMP_MODELS) + "/" + pRelativePath;
    return FileExists(lPath) ? lPath : std::string();
}

std::vector<CornerValues> ReadCorners(moxsdk::MoxMesh& pMesh)
{
    using moxsdk::MoxLayerElement;
    const double lNaN = std::numeric_limits<double>::quiet_NaN();
    moxsdk::MoxLayer* lLayer0 = pMesh.GetLayer(0);
    const moxsdk::MoxLayerElementReader<moxsdk::MoxVector4> lNormals(lLayer0 ? lLayer0->GetNormals() : nullptr);
    const moxsdk::MoxLayerElementReader<moxsdk::MoxVector2> lUVs(pMesh.GetElementUV());
    std::vector<CornerValues> lCorners;
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p)
        for (int k = 0; k < pMesh.GetPolygonSize(p); ++k) {
            const int lVertex = pMesh.GetPolygonVertexIndex(p) + k;
            const int lPoint = pMesh.GetPolygonVertex(p, k);
            const moxsdk::MoxVector4 lPosition = pMesh.GetControlPointAt(lPoint);
            moxsdk::MoxVector4 lNormal(lNaN, lNaN, lNaN);
            moxsdk::MoxVector2 lUV(lNaN, lNaN);
            lNormals.Get(p, lVertex, lPoint, lNormal);
            lUVs.Get(p, lVertex, lPoint, lUV);
            lCorners.push_back(CornerValues{
                {lPosition[0], lPosition[1], lPosition[2]}, {lNormal[0], lNormal[1], lNormal[2]}, {lUV[0], lUV[1]}});
        }
    return lCorners;
}

std::vector<int> PolygonSizes(const moxsdk::MoxMesh& pMesh)
{
    std::vector<int> lSizes;
    lSizes.reserve(static_cast<size_t>(pMesh.GetPolygonCount()));
    for (int p = 0; p < pMesh.GetPolygonCount(); ++p) lSizes.push_back(pMesh.GetPolygonSize(p));
    return lSizes;
}

}  // namespace moxtooltest
