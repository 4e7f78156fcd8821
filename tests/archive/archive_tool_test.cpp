// The archive inspector, run as a program on good and bad files.
#include "../support/bytes.h"

#include "std/archive/filearchive.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace {

namespace fs = std::filesystem;

// Built beside the tests' folder.
fs::path inspector()
{
    for (const char* name : {"tlvstd-archive", "tlvstd-archive.exe"}) {
        fs::path candidate = fs::current_path().parent_path() / name;
        if (fs::exists(candidate)) return candidate;
    }
    return {};
}

struct Outcome {
    int status;
    std::string out, err;
};

Outcome runInspector(const std::string& args)
{
    const fs::path dir = testOutputDir();
    const fs::path out = dir / "inspector.out", err = dir / "inspector.err";
    std::string command = "\"" + inspector().string() + "\" " + args + " >\"" + out.string() + "\" 2>\"" +
                          err.string() + "\"";
    int status = std::system(command.c_str());
#ifndef _WIN32
    status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    auto slurp = [](const fs::path& p) {
        std::ifstream file(p, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    return {status, slurp(out), slurp(err)};
}

TEST(Inspector, ListsAndShowsGoodArchivesRefusesBadOnesInOneLine)
{
    ASSERT_FALSE(inspector().empty()) << "tlvstd-archive is not built beside " << fs::current_path();
    const std::string dir = testOutputDir();
    const std::string good = dir + "/inspect-good.arc", plain = dir + "/inspect-plain.arc",
                      text = dir + "/inspect-text.arc", cut = dir + "/inspect-cut.arc";
    {
        ycFileArchive out(yfWiden(good), ycArchive::storing, ycArchive::littleEndian, true);
        out.writeNewMark(4);
        ycAssertFailure failure(L"broken");
        out.storeObject(&failure);
    }
    { ycFileArchive out(yfWiden(plain), ycArchive::storing, ycArchive::bigEndian); }
    std::ofstream(text) << "this is not an archive\n";
    {
        std::ifstream in(good, std::ios::binary);
        std::string bytes(std::istreambuf_iterator<char>(in), {});
        std::ofstream(cut, std::ios::binary) << bytes.substr(0, bytes.size() - 3);
    }

    struct Row {
        std::string args;
        int status;
        std::string out; // expected in stdout; for failures, in the one stderr line
    } rows[] = {
        {"list " + good, 0,
         "version 1, byte order 1 (little-endian), seekable\nmark 4 at 2\nobject 1: ycAssertFailure, "},
        {"show " + good + " 1", 0, "object 1: ycAssertFailure\nexception ycAssertFailure: broken\n"},
        {"list " + plain, 0, "version 1, byte order 0 (big-endian), not seekable\n"},
        {"show " + good + " 2", 1, "ycArchive::NotFound"},
        {"show " + plain + " 1", 1, "ycArchive::NotSeekable"},
        {"list " + text, 1, "ycArchive::UnknownArchiveVersion"},
        {"list " + cut, 1, "ycArchive::BadType"},
        {"list " + dir + "/missing.arc", 1, "Could not open file: "},
        {"show " + good + " one", 2, ""},
        {"list", 2, ""},
    };
    for (const Row& row : rows) {
        Outcome got = runInspector(row.args);
        EXPECT_EQ(got.status, row.status) << row.args;
        if (row.status == 0) {
            EXPECT_NE(got.out.find(row.out), std::string::npos) << row.args << "\n" << got.out;
            EXPECT_EQ(got.err, "") << row.args;
        } else if (row.status == 1) {
            EXPECT_EQ(got.err.rfind("tlvstd-archive: ", 0), 0u) << row.args << "\n" << got.err;
            EXPECT_EQ(std::count(got.err.begin(), got.err.end(), '\n'), 1) << row.args << "\n" << got.err;
            EXPECT_NE(got.err.find(row.out), std::string::npos) << row.args << "\n" << got.err;
        } else {
            EXPECT_NE(got.err.find("usage:"), std::string::npos) << row.args;
        }
    }
}

} // namespace
