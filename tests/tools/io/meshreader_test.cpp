#include "io/meshreader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/toolerror.h"
#include "tooltestsupport.h"

using namespace moxmeshtool;
using moxtooltest::TempDir;
using moxtooltest::WriteFile;

namespace {

std::string ErrorOf(const std::string& pPath)
{
    try {
        ReadMesh(pPath);
    } catch (const ToolError& lError) {
        return lError.what();
    }
    return {};
}

TEST(MeshReader, ExtensionIsLowerCaseWithItsDot)
{
    EXPECT_EQ(ExtensionOf("a/b.OBJ"), ".obj");
    EXPECT_EQ(ExtensionOf("a.b/c"), "");
    EXPECT_EQ(ExtensionOf("model.tar.GZ"), ".gz");
    EXPECT_EQ(ExtensionOf("noextension"), "");
    EXPECT_EQ(ExtensionOf("."), "");
    EXPECT_EQ(ExtensionOf("a/.."), "");
    EXPECT_EQ(ExtensionOf(".obj"), ".obj");
}

TEST(MeshReader, MissingFile)
{
    TempDir lDir;
    EXPECT_EQ(ErrorOf(lDir.File("none.obj")), lDir.File("none.obj") + ": cannot read: No such file or directory");
}

TEST(MeshReader, DirectoryIsNotAFile)
{
    TempDir lDir;
    EXPECT_EQ(ErrorOf(lDir.Path()), lDir.Path() + ": cannot read: is a directory");
}

TEST(MeshReader, UnreadableFile)
{
    if (geteuid() == 0) GTEST_SKIP() << "root reads every file";
    TempDir lDir;
    WriteFile(lDir.File("locked.obj"), "v 0 0 0\n");
    chmod(lDir.File("locked.obj").c_str(), 0);
    EXPECT_EQ(ErrorOf(lDir.File("locked.obj")), lDir.File("locked.obj") + ": cannot read: Permission denied");
}

TEST(MeshReader, UnknownFormat)
{
    TempDir lDir;
    WriteFile(lDir.File("notes.txt"), "hello\n");
    WriteFile(lDir.File("noextension"), "hello\n");
    EXPECT_EQ(
        ErrorOf(lDir.File("notes.txt")),
        lDir.File("notes.txt") +
            ": unknown format \".txt\": moxmesh reads OBJ and the formats Assimp reads (PLY, STL, glTF, OFF, ...)");
    EXPECT_EQ(ErrorOf(lDir.File("noextension")),
              lDir.File("noextension") +
                  ": unknown format (no extension): moxmesh reads OBJ and the formats Assimp reads (PLY, STL, glTF, "
                  "OFF, ...)");
}

TEST(MeshReader, ChoosesTheReaderByExtension)
{
    TempDir lDir;
    WriteFile(lDir.File("t.OBJ"), "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    WriteFile(lDir.File("t.stl"),
              "solid t\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
              "vertex 0 1 0\nendloop\nendfacet\nendsolid t\n");
    EXPECT_EQ(ReadMesh(lDir.File("t.OBJ"))->mFormat, "OBJ (tinyobjloader)");
    EXPECT_EQ(ReadMesh(lDir.File("t.stl"))->mFormat, "STL (Assimp)");
}

// Every file of assimp-testmodels' invalid/ directory is refused with a one-line error, or read (the
// one whose only fault is a material missing from its library).
TEST(MeshReader, InvalidSamplesFailCleanly)
{
    const std::string lDirectory = moxtooltest::SampleModel("invalid");
    if (lDirectory.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    std::vector<std::string> lNames = {"empty.3ds",        "empty.ase",     "empty.lwo", "empty.md5mesh", "empty.obj",
                                       "empty.off",        "empty.ply",     "empty.raw", "empty.smd",     "empty.x",
                                       "emptyIrrMesh.xml", "malformed.obj", "readme.txt"};
#ifndef MOX_SANITIZED
    lNames.emplace_back("OutOfMemory.off");  // see tests/tools/CMakeLists.txt for the sanitizer build
#endif
    for (const std::string& lName : lNames) {
        const std::string lPath = std::string(lDirectory).append("/").append(lName);
        const std::string lError = ErrorOf(lPath);
        EXPECT_EQ(lError.rfind(lPath + ": ", 0), 0u) << lName << ": " << lError;
        EXPECT_EQ(lError.find('\n'), std::string::npos) << lName;
    }
    EXPECT_EQ(ReadMesh(lDirectory + "/malformed2.obj")->Mesh().GetPolygonCount(), 5);
}

#ifndef MOX_SANITIZED
// A header that declares billions of vertices in a few bytes is refused quickly, within the memory budget.
TEST(MeshReader, OversizedHeaderIsRefusedWithinTheMemoryBudget)
{
    const std::string lPath = moxtooltest::SampleModel("invalid/OutOfMemory.off");
    if (lPath.empty()) GTEST_SKIP() << "assimp-testmodels is not installed";
    EXPECT_EQ(ErrorOf(lPath), lPath +
                                  ": malformed OFF file: it asks for more than 2048 MiB of memory, more than a "
                                  "file of 309 bytes can need");
}
#endif

}  // namespace
