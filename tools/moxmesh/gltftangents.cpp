#include "gltftangents.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "toolerror.h"

namespace moxmeshtool {
namespace {

constexpr char sgColorKey[] = "\"COLOR_0\"";
constexpr char sgTangentKey[] = "\"TANGENT\"";
static_assert(sizeof sgColorKey == sizeof sgTangentKey, "the rename must keep the JSON's length");

constexpr uint32_t sgBinaryMagic = 0x46546C67;  // "glTF", little-endian
constexpr uint32_t sgJsonChunk = 0x4E4F534A;    // "JSON"

uint32_t LittleEndian32(const unsigned char* pBytes)
{
    return uint32_t(pBytes[0]) | uint32_t(pBytes[1]) << 8 | uint32_t(pBytes[2]) << 16 | uint32_t(pBytes[3]) << 24;
}

struct FileCloser {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};

// Where the JSON lies in the file: the whole file, or the first chunk of a .glb.
void LocateJson(std::FILE* pFile, bool pBinary, const std::string& pName, long& pOffset, size_t& pLength)
{
    if (!pBinary) {
        if (std::fseek(pFile, 0, SEEK_END) != 0)
            throw ToolError(pName, std::string("cannot read: ") + std::strerror(errno));
        pOffset = 0;
        pLength = static_cast<size_t>(std::ftell(pFile));
        return;
    }
    unsigned char lHeader[20];
    if (std::fseek(pFile, 0, SEEK_SET) != 0 || std::fread(lHeader, 1, sizeof lHeader, pFile) != sizeof lHeader ||
        LittleEndian32(lHeader) != sgBinaryMagic || LittleEndian32(lHeader + 16) != sgJsonChunk)
        throw ToolError(pName, "the glTF exporter wrote no glTF 2.0 binary file");
    pOffset = 20;
    pLength = LittleEndian32(lHeader + 12);
}

}  // namespace

int RenameColorAttributes(std::string& pJson)
{
    int lCount = 0;
    const size_t lKeyLength = sizeof sgColorKey - 1;
    for (size_t lAt = pJson.find(sgColorKey); lAt != std::string::npos; lAt = pJson.find(sgColorKey, lAt + 1)) {
        size_t lNext = lAt + lKeyLength;
        while (lNext < pJson.size() && std::strchr(" \t\r\n", pJson[lNext])) ++lNext;
        if (lNext >= pJson.size() || pJson[lNext] != ':') continue;
        pJson.replace(lAt, lKeyLength, sgTangentKey);
        ++lCount;
    }
    return lCount;
}

int RenameColorAttributesInFile(const std::string& pPath, bool pBinary, const std::string& pDisplayName)
{
    std::unique_ptr<std::FILE, FileCloser> lFile(std::fopen(pPath.c_str(), "r+b"));
    if (!lFile) throw ToolError(pDisplayName, std::string("cannot write: ") + std::strerror(errno));
    long lOffset = 0;
    size_t lLength = 0;
    LocateJson(lFile.get(), pBinary, pDisplayName, lOffset, lLength);

    std::string lJson(lLength, '\0');
    if (std::fseek(lFile.get(), lOffset, SEEK_SET) != 0 || std::fread(lJson.data(), 1, lLength, lFile.get()) != lLength)
        throw ToolError(pDisplayName, "cannot read back the written glTF file");
    const int lCount = RenameColorAttributes(lJson);
    if (lCount == 0) return 0;
    if (std::fseek(lFile.get(), lOffset, SEEK_SET) != 0 ||
        std::fwrite(lJson.data(), 1, lLength, lFile.get()) != lLength || std::fflush(lFile.get()) != 0)
        throw ToolError(pDisplayName, std::string("cannot write: ") + std::strerror(errno));
    return lCount;
}

}  // namespace moxmeshtool
