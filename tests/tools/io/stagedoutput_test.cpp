#include "io/stagedoutput.h"

#include <csignal>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/toolerror.h"
#include "tooltestsupport.h"

using namespace moxmeshtool;
using moxtooltest::TempDir;

namespace {

void Write(std::FILE* pFile, const std::string& pText)
{
    ASSERT_NE(pFile, nullptr);
    std::fwrite(pText.data(), 1, pText.size(), pFile);
}

TEST(StagedOutput, NothingAppearsBeforeCommit)
{
    TempDir lDir;
    StagedOutput lOutput;
    Write(lOutput.Open(lDir.File("a.obj")), "obj");
    Write(lOutput.Open(lDir.File("a.mtl")), "mtl");
    EXPECT_FALSE(moxtooltest::FileExists(lDir.File("a.obj")));
    const std::vector<std::string> lEntries = lDir.Entries();
    ASSERT_EQ(lEntries.size(), 2u);
    EXPECT_EQ(lEntries[0].rfind(".a.mtl.moxmesh-", 0), 0u);
    EXPECT_EQ(lEntries[1].rfind(".a.obj.moxmesh-", 0), 0u);
    EXPECT_EQ(lOutput.StagedPath(lDir.File("a.obj")), lDir.File(lEntries[1]));
}

TEST(StagedOutput, CommitMovesEveryFileIntoPlace)
{
    TempDir lDir;
    moxtooltest::WriteFile(lDir.File("a.obj"), "old");
    StagedOutput lOutput;
    Write(lOutput.Open(lDir.File("a.obj")), "new obj");
    Write(lOutput.Open(lDir.File("a.mtl")), "new mtl");
    EXPECT_EQ(lOutput.Destinations(), (std::vector<std::string>{lDir.File("a.obj"), lDir.File("a.mtl")}));
    lOutput.Commit();
    EXPECT_EQ(lDir.Entries(), (std::vector<std::string>{"a.mtl", "a.obj"}));
    EXPECT_EQ(moxtooltest::ReadFile(lDir.File("a.obj")), "new obj");
    EXPECT_EQ(moxtooltest::ReadFile(lDir.File("a.mtl")), "new mtl");
}

TEST(StagedOutput, CommittedFilesGetTheUsualPermissions)
{
    TempDir lDir;
    const mode_t lMask = umask(022);
    {
        StagedOutput lOutput;
        Write(lOutput.Open(lDir.File("a.obj")), "x");
        lOutput.Commit();
    }
    umask(lMask);
    struct stat lStatus;
    ASSERT_EQ(stat(lDir.File("a.obj").c_str(), &lStatus), 0);
    EXPECT_EQ(lStatus.st_mode & 0777, 0644u);
}

TEST(StagedOutput, DestructionWithoutCommitLeavesNothing)
{
    TempDir lDir;
    moxtooltest::WriteFile(lDir.File("a.obj"), "old");
    {
        StagedOutput lOutput;
        Write(lOutput.Open(lDir.File("a.obj")), "new");
        Write(lOutput.Open(lDir.File("b.bin")), "new");
    }
    EXPECT_EQ(lDir.Entries(), std::vector<std::string>{"a.obj"});
    EXPECT_EQ(moxtooltest::ReadFile(lDir.File("a.obj")), "old");
}

TEST(StagedOutput, ReopeningADestinationStartsItAgain)
{
    TempDir lDir;
    StagedOutput lOutput;
    Write(lOutput.Open(lDir.File("a.obj")), "first");
    Write(lOutput.Open(lDir.File("a.obj")), "second");
    lOutput.Commit();
    EXPECT_EQ(moxtooltest::ReadFile(lDir.File("a.obj")), "second");
}

TEST(StagedOutput, MissingDirectoryFailsAndCommitThrows)
{
    TempDir lDir;
    StagedOutput lOutput;
    EXPECT_EQ(lOutput.Open(lDir.File("none/a.obj")), nullptr);
    Write(lOutput.Open(lDir.File("b.obj")), "b");
    EXPECT_TRUE(lOutput.Failed());
    EXPECT_EQ(lOutput.FailedFile(), lDir.File("none/a.obj"));
    try {
        lOutput.Commit();
        FAIL() << "the commit went through";
    } catch (const ToolError& lError) {
        EXPECT_STREQ(lError.what(), (lDir.File("none/a.obj") + ": cannot write: No such file or directory").c_str());
    }
    EXPECT_TRUE(lDir.Entries().empty());
}

TEST(StagedOutput, RecordedFailureKeepsTheFirst)
{
    TempDir lDir;
    StagedOutput lOutput;
    Write(lOutput.Open(lDir.File("a.obj")), "a");
    lOutput.Fail(lDir.File("a.obj"), "No space left on device");
    lOutput.Fail(lDir.File("b.obj"), "other");
    EXPECT_EQ(lOutput.Failure(), "No space left on device");
    EXPECT_THROW(lOutput.Commit(), ToolError);
    EXPECT_TRUE(lDir.Entries().empty());
}

// An interrupt in the middle of writing removes the staged files before the process ends by it.
TEST(StagedOutputDeathTest, InterruptRemovesStagedFiles)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TempDir lDir;
    EXPECT_EXIT(
        {
            StagedOutput::RemoveOnInterrupt();
            StagedOutput lOutput;
            std::fputs("partial", lOutput.Open(lDir.File("a.obj")));
            std::fputs("partial", lOutput.Open(lDir.File("a.mtl")));
            std::raise(SIGTERM);
        },
        ::testing::KilledBySignal(SIGTERM), "");
    EXPECT_TRUE(lDir.Entries().empty());
}

}  // namespace
