#include "io/meshreader.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>

#include "io/assimpreader.h"
#include "io/objreader.h"
#include "io/toolerror.h"

namespace moxmeshtool {
namespace {

// The file exists, is a regular file and can be opened for reading; the libraries' own messages for
// these cases are less clear than the system's.
void CheckReadable(const std::string& pPath)
{
    struct stat lStatus;
    if (stat(pPath.c_str(), &lStatus) != 0) throw ToolError(pPath, std::string("cannot read: ") + std::strerror(errno));
    if (S_ISDIR(lStatus.st_mode)) throw ToolError(pPath, "cannot read: is a directory");
    if (!S_ISREG(lStatus.st_mode)) throw ToolError(pPath, "cannot read: not a regular file");
    std::FILE* lFile = std::fopen(pPath.c_str(), "rb");
    if (!lFile) throw ToolError(pPath, std::string("cannot read: ") + std::strerror(errno));
    std::fclose(lFile);
}

// "PLY", "STL", "glTF": the extension in capitals, except where the format has a name of its own.
std::string FormatName(const std::string& pExtension)
{
    if (pExtension == ".gltf") return "glTF";
    if (pExtension == ".glb") return "glTF binary";
    std::string lName = pExtension.substr(1);
    std::transform(lName.begin(), lName.end(), lName.begin(), [](unsigned char pChar) { return std::toupper(pChar); });
    return lName;
}

}  // namespace

std::string ExtensionOf(const std::string& pPath)
{
    const size_t lSlash = pPath.find_last_of('/');
    const std::string lName = lSlash == std::string::npos ? pPath : pPath.substr(lSlash + 1);
    const size_t lDot = pPath.find_last_of('.');
    if (lDot == std::string::npos || (lSlash != std::string::npos && lDot < lSlash) || lName == "." || lName == "..")
        return {};
    std::string lExtension = pPath.substr(lDot);
    std::transform(lExtension.begin(), lExtension.end(), lExtension.begin(),
                   [](unsigned char pChar) { return std::tolower(pChar); });
    return lExtension;
}

std::unique_ptr<ManagedMesh> ReadMesh(const std::string& pPath)
{
    CheckReadable(pPath);
    const std::string lExtension = ExtensionOf(pPath);
    auto lMesh = std::make_unique<ManagedMesh>();
    if (lExtension == ".obj")
        ReadObj(pPath, *lMesh);
    else if (lExtension.size() > 1 && AssimpReadsExtension(lExtension))
        ReadWithAssimp(pPath, FormatName(lExtension), *lMesh);
    else
        throw ToolError(pPath, "unknown format" +
                                   (lExtension.empty() ? std::string(" (no extension)") : " \"" + lExtension + "\"") +
                                   ": moxmesh reads OBJ and the formats Assimp reads (PLY, STL, glTF, OFF, ...)");
    return lMesh;
}

}  // namespace moxmeshtool
