#include "io/meshwriter.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>
#include <assimp/Exporter.hpp>
#include <assimp/IOStream.hpp>
#include <assimp/IOSystem.hpp>
#include <ext/stdio_filebuf.h>

#include "io/gltfwriter.h"
#include "io/meshreader.h"
#include "io/objnormalfilter.h"
#include "io/sceneexport.h"
#include "io/stagedoutput.h"
#include "io/toolerror.h"

namespace moxmeshtool {
namespace {

// An Assimp output stream onto a file that StagedOutput opened; closing it (the exporters either call
// IOSystem::Close or delete the stream) closes the file and records any write failure. With a filter,
// the text written passes through it (the stream then cannot seek: the OBJ exporter does not).
class StagedStream : public Assimp::IOStream {
public:
    StagedStream(StagedOutput& pOutput, std::string pDestination, std::FILE* pFile,
                 std::unique_ptr<ObjNormalFilter> pFilter)
        : mOutput(pOutput), mDestination(std::move(pDestination)), mFile(pFile), mFilter(std::move(pFilter))
    {}
    ~StagedStream() override
    {
        if (mFilter) Put(mFilter->Finish());
        mOutput.Close(mFile);
    }
    StagedStream(const StagedStream&) = delete;
    StagedStream& operator=(const StagedStream&) = delete;

    size_t Read(void* /*pBuffer*/, size_t /*pSize*/, size_t /*pCount*/) override { return 0; }
    size_t Write(const void* pBuffer, size_t pSize, size_t pCount) override
    {
        if (mFilter) return Put(mFilter->Feed(static_cast<const char*>(pBuffer), pSize * pCount)) ? pCount : 0;
        const size_t lWritten = std::fwrite(pBuffer, pSize, pCount, mFile);
        if (lWritten != pCount) mOutput.Fail(mDestination, std::strerror(errno));
        return lWritten;
    }
    aiReturn Seek(size_t pOffset, aiOrigin pOrigin) override
    {
        const int lOrigin = pOrigin == aiOrigin_SET ? SEEK_SET : pOrigin == aiOrigin_CUR ? SEEK_CUR : SEEK_END;
        return std::fseek(mFile, static_cast<long>(pOffset), lOrigin) == 0 ? aiReturn_SUCCESS : aiReturn_FAILURE;
    }
    size_t Tell() const override { return static_cast<size_t>(std::ftell(mFile)); }
    size_t FileSize() const override
    {
        struct stat lStatus;
        std::fflush(mFile);
        return fstat(fileno(mFile), &lStatus) == 0 ? static_cast<size_t>(lStatus.st_size) : 0;
    }
    void Flush() override { std::fflush(mFile); }

private:
    bool Put(const std::string& pText)
    {
        if (pText.empty() || std::fwrite(pText.data(), 1, pText.size(), mFile) == pText.size()) return true;
        mOutput.Fail(mDestination, std::strerror(errno));
        return false;
    }

    StagedOutput& mOutput;
    std::string mDestination;
    std::FILE* mFile;
    std::unique_ptr<ObjNormalFilter> mFilter;
};

// The file system as Assimp's exporters see it: every file they open for writing is staged, and the
// file pFiltered (when not empty) passes through an ObjNormalFilter. The exporter owns (and deletes)
// this object; the staging itself belongs to the writer.
class StagedIOSystem : public Assimp::IOSystem {
public:
    StagedIOSystem(StagedOutput& pOutput, std::string pFiltered) : mOutput(pOutput), mFiltered(std::move(pFiltered)) {}

    bool Exists(const char* pFile) const override { return access(pFile, F_OK) == 0; }
    char getOsSeparator() const override { return '/'; }
    Assimp::IOStream* Open(const char* pFile, const char* pMode) override
    {
        if (!std::strchr(pMode, 'w')) return nullptr;  // exporters only write
        std::FILE* lFile = mOutput.Open(pFile);
        if (!lFile) return nullptr;
        auto lFilter = mFiltered == pFile ? std::make_unique<ObjNormalFilter>() : nullptr;
        return new StagedStream(mOutput, pFile, lFile, std::move(lFilter));
    }
    void Close(Assimp::IOStream* pFile) override { delete pFile; }

private:
    StagedOutput& mOutput;
    std::string mFiltered;
};

std::string DirectoryOf(const std::string& pPath)
{
    const size_t lSlash = pPath.find_last_of('/');
    if (lSlash == std::string::npos) return ".";
    return lSlash == 0 ? "/" : pPath.substr(0, lSlash);
}

// Assimp's OBJ exporter adds normals of its own to a mesh without any; pWithoutNormals takes them out.
void Export(const aiScene& pScene, const std::string& pPath, bool pWithoutNormals, StagedOutput& pOutput)
{
    Assimp::Exporter lExporter;
    lExporter.SetIOHandler(new StagedIOSystem(pOutput, pWithoutNormals ? pPath : std::string()));
    const aiReturn lResult = lExporter.Export(&pScene, "obj", pPath, 0u);
    if (pOutput.Failed()) throw ToolError(pOutput.FailedFile(), "cannot write: " + pOutput.Failure());
    if (lResult != aiReturn_SUCCESS)
        throw ToolError(pPath, std::string("cannot write: Assimp's exporter failed: ") + lExporter.GetErrorString());
}

void ThrowWhenEmpty(const SceneSummary& pSummary, const std::string& pPath)
{
    if (pSummary.mPolygons == 0)
        throw ToolError(pPath, "nothing to write: no polygon has 3 or more vertices with valid control points");
}

// OBJ through Assimp's exporter; a mesh without normals is written without them.
void WriteObj(moxsdk::MoxMesh& pMesh, const std::string& pPath, StagedOutput& pOutput, SceneSummary& pSummary)
{
    const std::unique_ptr<aiScene> lScene = BuildScene(pMesh, pSummary);
    ThrowWhenEmpty(pSummary, pPath);
    Export(*lScene, pPath, !pSummary.mNormals, pOutput);
}

// A stream onto a staged file: pDestination's file, whose failures StagedOutput records.
class StagedFileStream {
public:
    StagedFileStream(StagedOutput& pOutput, const std::string& pDestination)
        : mOutput(pOutput), mDestination(pDestination), mFile(pOutput.Open(pDestination))
    {
        if (!mFile) throw ToolError(pOutput.FailedFile(), "cannot write: " + pOutput.Failure());
        mBuffer = std::make_unique<__gnu_cxx::stdio_filebuf<char>>(mFile, std::ios::out | std::ios::binary);
        mStream = std::make_unique<std::ostream>(mBuffer.get());
    }
    ~StagedFileStream() { Close(); }
    StagedFileStream(const StagedFileStream&) = delete;
    StagedFileStream& operator=(const StagedFileStream&) = delete;

    std::ostream& Stream() { return *mStream; }
    // Flushes and closes the file, recording a failed write.
    void Close()
    {
        if (!mFile) return;
        mStream->flush();
        if (!*mStream) mOutput.Fail(mDestination, std::strerror(errno));
        mStream.reset();
        mBuffer.reset();
        mOutput.Close(mFile);
        mFile = nullptr;
    }

private:
    StagedOutput& mOutput;
    std::string mDestination;
    std::FILE* mFile;
    std::unique_ptr<__gnu_cxx::stdio_filebuf<char>> mBuffer;
    std::unique_ptr<std::ostream> mStream;
};

std::string BaseNameOf(const std::string& pPath)
{
    const size_t lSlash = pPath.find_last_of('/');
    return lSlash == std::string::npos ? pPath : pPath.substr(lSlash + 1);
}

// "dir/name.gltf" -> "dir/name.bin".
std::string BinPathOf(const std::string& pPath)
{
    return pPath.substr(0, pPath.size() - ExtensionOf(pPath).size()) + ".bin";
}

// glTF through tinygltf: a .glb, or a .gltf with its .bin beside it.
void WriteGltfFiles(moxsdk::MoxMesh& pMesh, const std::string& pPath, bool pBinary, StagedOutput& pOutput,
                    SceneSummary& pSummary)
{
    const std::string lName = BaseNameOf(pPath).substr(0, BaseNameOf(pPath).size() - ExtensionOf(pPath).size());
    StagedFileStream lMain(pOutput, pPath);
    if (pBinary) {
        WriteGlb(pMesh, lName, lMain.Stream(), pSummary);
    } else {
        const std::string lBinPath = BinPathOf(pPath);
        StagedFileStream lBin(pOutput, lBinPath);
        WriteGltfText(pMesh, lName, BaseNameOf(lBinPath), lMain.Stream(), lBin.Stream(), pSummary);
        lBin.Close();
    }
    ThrowWhenEmpty(pSummary, pPath);
    lMain.Close();
    if (pOutput.Failed()) throw ToolError(pOutput.FailedFile(), "cannot write: " + pOutput.Failure());
}

}  // namespace

EOutputFormat OutputFormatOf(const std::string& pPath)
{
    const std::string lExtension = ExtensionOf(pPath);
    if (lExtension == ".obj") return EOutputFormat::eObj;
    if (lExtension == ".gltf") return EOutputFormat::eGltf;
    if (lExtension == ".glb") return EOutputFormat::eGlb;
    throw ToolError(pPath, "unknown output format" +
                               (lExtension.empty() ? std::string(" (no extension)") : " \"" + lExtension + "\"") +
                               ": moxmesh writes .obj, .gltf and .glb");
}

const char* FormatName(EOutputFormat pFormat)
{
    switch (pFormat) {
        case EOutputFormat::eObj:
            return "OBJ";
        case EOutputFormat::eGltf:
            return "glTF";
        case EOutputFormat::eGlb:
            return "glTF binary";
    }
    return "";
}

void CheckWritable(const std::string& pPath)
{
    struct stat lStatus;
    if (stat(pPath.c_str(), &lStatus) == 0 && S_ISDIR(lStatus.st_mode))
        throw ToolError(pPath, "cannot write: is a directory");
    const std::string lDirectory = DirectoryOf(pPath);
    if (stat(lDirectory.c_str(), &lStatus) != 0)
        throw ToolError(pPath, "cannot write: directory " + lDirectory + ": " + std::strerror(errno));
    if (!S_ISDIR(lStatus.st_mode)) throw ToolError(pPath, "cannot write: " + lDirectory + " is not a directory");
    if (access(lDirectory.c_str(), W_OK | X_OK) != 0)
        throw ToolError(pPath, "cannot write: directory " + lDirectory + ": " + std::strerror(errno));
}

WriteSummary WriteMesh(moxsdk::MoxMesh& pMesh, const std::string& pPath)
{
    WriteSummary lSummary;
    CheckWritable(pPath);
    lSummary.mFormat = OutputFormatOf(pPath);
    StagedOutput lOutput;
    if (lSummary.mFormat == EOutputFormat::eObj)
        WriteObj(pMesh, pPath, lOutput, lSummary.mScene);
    else
        WriteGltfFiles(pMesh, pPath, lSummary.mFormat == EOutputFormat::eGlb, lOutput, lSummary.mScene);
    lSummary.mFiles = lOutput.Destinations();
    lOutput.Commit();
    return lSummary;
}

}  // namespace moxmeshtool
