#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include <support/scratch_folder.h>
#include <vorlane/bytes/blocks.h>
#include <vorlane/bytes/gate.h>
#include <vorlane/bytes/text_lines.h>
#include <vorlane/platform/file.h>
#include <vorlane/platform/string.h>
#include <vorlane/platform/system_files.h>

namespace {

using namespace vorlane;

constexpr unsigned create_and_write = 4097;

TEST(File, WritesReadsAndTruncates) {
    const ScratchFolder folder;
    const std::string path = folder.write("file", "a longer content than what follows");
    CFile writer(path.c_str(), create_and_write);
    writer.Write("abc\0d", 5);
    writer.Close();
    writer.Close();
    EXPECT_EQ(folder.read("file"), std::string("abc\0d", 5));

    CFile reader(path.c_str(), 0);
    char buffer[8] = {};
    EXPECT_EQ(reader.Read(buffer, 3), 3u);
    EXPECT_EQ(reader.Read(buffer, 8), 2u);
    EXPECT_EQ(reader.Read(buffer, 8), 0u);
}

TEST(File, FailureNamesPathAndCause) {
    const ScratchFolder folder;
    for (const auto& [path, flags] :
         {std::pair{folder.path("missing"), 0u},
          std::pair{folder.path("no/such"), create_and_write}, std::pair{folder.path(), 0u},
          std::pair{folder.path(), create_and_write}}) {
        try {
            CFile file(path.c_str(), flags);
            FAIL() << path;
        } catch (const std::runtime_error& error) {
            EXPECT_NE(dynamic_cast<const CFileException*>(&error), nullptr);
            EXPECT_NE(std::string(error.what()).find(path), std::string::npos);
            EXPECT_GT(std::string(error.what()).size(), path.size() + 15) << error.what();
        }
    }
    EXPECT_THROW(CFile(nullptr, 0), CFileException);
}

TEST(File, FullDiskIsNoticed) {
    CFile file("/dev/full", create_and_write);
    const std::string much(1 << 20, 'x');
    EXPECT_THROW(
        {
            file.Write(much.data(), 1 << 20);
            file.Close();
        },
        CFileException);
}

TEST(SystemFiles, AreFoundFromTheLibrary) {
    const auto program = std::filesystem::canonical(testing::internal::GetArgvs()[0]);
    EXPECT_EQ(std::filesystem::path(path_from_library("../share/x")),
              program.parent_path().parent_path() / "share" / "x");
}

TEST(String, FormatsAndFinds) {
    CString text;
    EXPECT_STREQ(text, "");
    const std::string longer(5000, 'y');
    text.Format("%s", longer.c_str());
    EXPECT_EQ(std::string(text), longer);
    text.Format("%s", "ACR-NEMA 2.0");
    EXPECT_EQ(text.Find("NEMA"), 4);
    EXPECT_EQ(text.Find("nema"), -1);
    EXPECT_EQ(text.Find(""), 0);
    text.Format("<%s>", static_cast<const char*>(text)); // its own text
    EXPECT_STREQ(text, "<ACR-NEMA 2.0>");
}

TEST(InputFile, ScansIntegersAsScanfDoes) {
    const auto scan = [](const char* text) {
        int values[3] = {-7, -7, -7};
        const int count = scan_ints(text, values, 3);
        return std::to_string(count) + ":" + std::to_string(values[0]) + "," +
               std::to_string(values[1]);
    };
    EXPECT_EQ(scan("4 2\n"), "2:4,2");
    EXPECT_EQ(scan(" \t+3\r\n-5"), "2:3,-5");
    EXPECT_EQ(scan("12abc 3"), "1:12,-7");
    EXPECT_EQ(scan("x"), "0:-7,-7");
    EXPECT_EQ(scan("- 3"), "0:-7,-7");
    EXPECT_EQ(scan("2147483647 -2147483648"), "2:2147483647,-2147483648");
    EXPECT_EQ(scan("2147483648 1"), "0:-7,-7");
    EXPECT_EQ(scan("99999999999999999999999999 1"), "0:-7,-7");
}

TEST(InputFile, GateBelievesWhatAFileCanHold) {
    constexpr std::int64_t always = 1 << 26, easily = 1 << 28;
    const struct {
        std::int64_t rows, cols, planes, channels, bytes, enough; // -1: no length is
    } cases[] = {
        {1 << 13, 1 << 13, 1, 1, 1, 0},
        {always, 1, 1, 1, 1, 0},
        {1, 1, always, 1, 4, 0},
        {always + 1, 1, 1, 1, 1, (always + 1) / 1000},
        {1 << 13, 1 << 13, 1, 3, 1, 3 * always / 1000},
        {1, 1, easily, 1, 4, 4 * easily / 1000},
        {1, easily + 1, 1, 1, 1, (easily + 1) / 100},
        {50000, 50000, 1, 1, 4, 100000000},
        {INT32_MAX, INT32_MAX, INT32_MAX, 3, 4, INT64_MAX / 100},
        {always, 1, 1, 1, 0, 0}, // no bytes on file
        {always + 1, 1, 1, 1, 0, -1},
        {0, INT32_MAX, 1, 3, 1, 0}, // no pixels
        {0, 0, 1, 1, 1, 0},
        {always, 0, 1, 1, 1, 0},
        {always + 1, 0, 1, 1, 1, (always + 1) / 1000},
        {-1, 1, 1, 1, 1, -1},
        {1, INT32_MIN, 1, 1, 1, -1},
        {1, 1, 0, 1, 1, -1},
        {1, 1, -1, 1, 1, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.rows << " x " << c.cols << " x " << c.planes);
        const auto is_believed = [&](std::int64_t available) {
            return header_is_believable(c.rows, c.cols, c.planes, c.channels, c.bytes, available);
        };
        EXPECT_EQ(is_believed(c.enough < 0 ? INT64_MAX : c.enough), c.enough >= 0);
        EXPECT_FALSE(c.enough > 0 && is_believed(c.enough - 1));
    }
}

// Units that a block boundary would cut stay whole, and the broken one at the end is dropped.
TEST(InputFile, BlocksKeepUnitsWhole) {
    const ScratchFolder folder;
    std::string bytes;
    for (int k = 0; k < 1000000; ++k)
        bytes.push_back(static_cast<char>(k * 7 % 251));
    {
        const FileHandle file(open_file(folder.path("out").c_str(), "wb"));
        BlockWriter writer(file.get());
        for (std::size_t done = 0; done < 999999;) {
            const auto room = writer.room(999999 - done, 3);
            ASSERT_EQ(room.size() % 3, 0u);
            std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(done), room.size(),
                        room.begin());
            done += room.size();
        }
        EXPECT_TRUE(writer.flush());
    }
    EXPECT_EQ(folder.read("out"), bytes.substr(0, 999999));
    const FileHandle file(open_file(folder.write("in", bytes).c_str(), "rb"));
    BlockReader reader(file.get());
    std::string read;
    for (auto part = reader.take(3000000, 3); !part.empty(); part = reader.take(3000000, 3)) {
        ASSERT_EQ(part.size() % 3, 0u);
        read.append(reinterpret_cast<const char*>(part.data()), part.size());
    }
    EXPECT_EQ(read, bytes.substr(0, 999999));
}

} // namespace
