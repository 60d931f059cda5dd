#include "gltftangents.h"

#include <cstdint>

#include <gtest/gtest.h>

#include "toolerror.h"
#include "tooltestsupport.h"

using namespace moxmeshtool;
using moxtooltest::TempDir;

namespace {

TEST(GltfTangents, RenamesAttributeKeysOnly)
{
    std::string lJson = R"({"attributes":{"POSITION":0,"COLOR_0" : 3},"name":"COLOR_0","x":{"COLOR_0":
4}})";
    EXPECT_EQ(RenameColorAttributes(lJson), 2);
    EXPECT_EQ(lJson, R"({"attributes":{"POSITION":0,"TANGENT" : 3},"name":"COLOR_0","x":{"TANGENT":
4}})");
}

TEST(GltfTangents, NothingToRename)
{
    std::string lJson = R"({"COLOR_1":2,"COLOR_0"})";
    EXPECT_EQ(RenameColorAttributes(lJson), 0);
    EXPECT_EQ(lJson, R"({"COLOR_1":2,"COLOR_0"})");
}

TEST(GltfTangents, TextFileIsRenamedInPlace)
{
    TempDir lDir;
    moxtooltest::WriteFile(lDir.File("a.gltf"), "{\"COLOR_0\": 1}");
    EXPECT_EQ(RenameColorAttributesInFile(lDir.File("a.gltf"), false, "a.gltf"), 1);
    EXPECT_EQ(moxtooltest::ReadFile(lDir.File("a.gltf")), "{\"TANGENT\": 1}");
}

std::string LittleEndian(uint32_t pValue)
{
    std::string lBytes(4, '\0');
    for (int i = 0; i < 4; ++i) lBytes[i] = static_cast<char>((pValue >> (8 * i)) & 0xFF);
    return lBytes;
}

TEST(GltfTangents, BinaryFileRenamesInItsJsonChunkOnly)
{
    const std::string lJson = "{\"COLOR_0\":1}   ";
    const std::string lBinary = "\"COLOR_0\":";  // the same bytes in the binary chunk stay
    const std::string lFile = "glTF" + LittleEndian(2) + LittleEndian(uint32_t(12 + 8 + lJson.size() + 8 + 12)) +
                              LittleEndian(uint32_t(lJson.size())) + "JSON" + lJson + LittleEndian(12) +
                              std::string("BIN\0", 4) + lBinary + "xx";
    TempDir lDir;
    moxtooltest::WriteFile(lDir.File("a.glb"), lFile);
    EXPECT_EQ(RenameColorAttributesInFile(lDir.File("a.glb"), true, "a.glb"), 1);
    const std::string lAfter = moxtooltest::ReadFile(lDir.File("a.glb"));
    ASSERT_EQ(lAfter.size(), lFile.size());
    EXPECT_EQ(lAfter.substr(20, lJson.size()), "{\"TANGENT\":1}   ");
    EXPECT_EQ(lAfter.substr(20 + lJson.size()), lFile.substr(20 + lJson.size()));
}

TEST(GltfTangents, NotABinaryGltf)
{
    TempDir lDir;
    moxtooltest::WriteFile(lDir.File("a.glb"), "not a glb file at all");
    try {
        RenameColorAttributesInFile(lDir.File("a.glb"), true, "out.glb");
        FAIL() << "accepted";
    } catch (const ToolError& lError) {
        EXPECT_STREQ(lError.what(), "out.glb: the glTF exporter wrote no glTF 2.0 binary file");
    }
}

}  // namespace
