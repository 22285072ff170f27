// The host's text-mode file: CR LF line ends, replacing a file only once it is written whole,
// and one report per failure.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "host/framework/stdio_file.h"

namespace {

namespace fs = std::filesystem;

std::vector<host::FileError> g_errors;

class StdioFileTest : public ::testing::Test {
protected:
    StdioFileTest() {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        m_dir = fs::temp_directory_path() / ("stdio-file-" + std::string(info->name()));
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
        g_errors.clear();
        host::CStdioFile::SetErrorReporter([](const host::FileError& error) { g_errors.push_back(error); });
    }
    ~StdioFileTest() override {
        host::CStdioFile::SetErrorReporter(nullptr);
        fs::permissions(m_dir, fs::perms::owner_all, fs::perm_options::add);
        fs::remove_all(m_dir);
    }
    static std::string read(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream bytes;
        bytes << file.rdbuf();
        return bytes.str();
    }
    fs::path m_dir;
};

TEST_F(StdioFileTest, WritesLineFeedsAsCrLfAndReplacesAnExistingFile) {
    const fs::path path = m_dir / "news.txt";
    std::ofstream(path, std::ios::binary) << "an older and longer text";
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    host::CStdioFile file;
    ASSERT_TRUE(file.Open(path.string()));
    // Until closed, the old file stays as it was.
    EXPECT_EQ(read(path), "an older and longer text");
    EXPECT_TRUE(file.WriteString("a\nb\r\n\xB3\x5C\n"));
    ASSERT_TRUE(file.Close());
    EXPECT_EQ(read(path), "a\r\nb\r\r\n\xB3\x5C\r\n");
    EXPECT_EQ(fs::status(path).permissions() & fs::perms::all,
              fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_dir), fs::directory_iterator()), 1) << "no temporary left";
    EXPECT_TRUE(g_errors.empty());
}

TEST_F(StdioFileTest, AFileThatCannotBeCreatedIsReportedOnceAndLaterCallsDoNothing) {
    const fs::path path = m_dir / "missing" / "news.txt";
    host::CStdioFile file;
    EXPECT_FALSE(file.Open(path.string()));
    EXPECT_FALSE(file.WriteString("text"));
    EXPECT_FALSE(file.Close());
    ASSERT_EQ(g_errors.size(), 1u);
    EXPECT_EQ(g_errors[0].cause, host::FileError::Cause::kCreate);
    EXPECT_EQ(g_errors[0].path, path.string());
    EXPECT_NE(g_errors[0].errorNumber, 0);
    EXPECT_FALSE(fs::exists(m_dir / "missing"));

    // A folder is no file to replace.
    EXPECT_FALSE(file.Open(m_dir.string()));
    EXPECT_EQ(g_errors.size(), 2u);
    EXPECT_TRUE(fs::is_directory(m_dir));
}

TEST_F(StdioFileTest, AFileTheUserMayNotWriteIsNotReplaced) {
    fs::path path = m_dir / "locked.txt";
    if (geteuid() == 0) {
        // The superuser may write any ordinary file, but not this one.
        path = "/proc/version";
    } else {
        std::ofstream(path, std::ios::binary) << "keep";
        fs::permissions(path, fs::perms::owner_read);
    }
    const std::string before = read(path);
    host::CStdioFile file;
    EXPECT_FALSE(file.Open(path.string()));
    ASSERT_EQ(g_errors.size(), 1u);
    EXPECT_EQ(g_errors[0].cause, host::FileError::Cause::kCreate);
    EXPECT_EQ(read(path), before);
}

TEST_F(StdioFileTest, AFolderThatTakesNoNewFileStillLetsAnExistingFileBeWritten) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "the superuser may create files anywhere";
    }
    const fs::path path = m_dir / "news.txt";
    std::ofstream(path, std::ios::binary) << "old";
    fs::permissions(m_dir, fs::perms::owner_read | fs::perms::owner_exec);
    host::CStdioFile file;
    ASSERT_TRUE(file.Open(path.string()));
    file.WriteString("new\n");
    EXPECT_TRUE(file.Close());
    EXPECT_EQ(read(path), "new\r\n");
}

TEST_F(StdioFileTest, ADeviceIsWrittenInPlaceNeverReplaced) {
    host::CStdioFile file;
    ASSERT_TRUE(file.Open("/dev/null"));
    EXPECT_TRUE(file.WriteString("news\n"));
    EXPECT_TRUE(file.Close());
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_TRUE(g_errors.empty());
}

TEST_F(StdioFileTest, TheMessageNamesTheFileAndTheReason) {
    const host::FileError error{host::FileError::Cause::kCreate, "/no/such/news.txt", ENOENT};
    const CString message = host::CStdioFile::FormatErrorMessage(error);
    EXPECT_NE(message.find("/no/such/news.txt"), std::string::npos);
    EXPECT_NE(message.find("No such file or directory"), std::string::npos);
    EXPECT_NE(message.find("created"), std::string::npos) << message;
}

} // namespace
