#pragma once
// Support for the tool's tests: temporary directories, small files, the sample models of
// assimp-testmodels, and reading a mesh's per-polygon-vertex values for comparisons.

#include <string>
#include <vector>

#include "moxsdk/scene/geometry/moxmesh.h"

namespace moxtooltest {

// A fresh directory under the system's temporary directory, removed with its content on destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return mPath; }
    // pName inside the directory.
    std::string File(const std::string& pName) const { return mPath + "/" + pName; }
    // The names of the entries, sorted (hidden ones included).
    std::vector<std::string> Entries() const;

private:
    std::string mPath;
};

void WriteFile(const std::string& pPath, const std::string& pContent);
std::string ReadFile(const std::string& pPath);
bool FileExists(const std::string& pPath);

// The path of a sample model of assimp-testmodels ("OBJ/spider.obj"), or empty when it is not installed.
std::string SampleModel(const std::string& pRelativePath);

// One polygon vertex with its values as plain doubles (missing values are NaN), for comparing meshes.
struct CornerValues {
    double mPosition[3];
    double mNormal[3];
    double mUV[2];
};
// Every polygon vertex of pMesh in order: position of its control point, normal (layer 0), UV (first UV
// set), read through the elements' own mapping and reference modes.
std::vector<CornerValues> ReadCorners(moxsdk::MoxMesh& pMesh);
// The polygon sizes in order.
std::vector<int> PolygonSizes(const moxsdk::MoxMesh& pMesh);

}  // namespace moxtooltest
