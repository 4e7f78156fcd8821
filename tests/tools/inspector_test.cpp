// The archive inspector, run as a program on good and bad files.
#include "../support/bytes.h"

#include "std/archive/filearchive.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace {

// The build passes the path of the tool it makes beside this test.
const std::string kInspector = TLVSTD_ARCHIVE_TOOL;

TEST(Inspector, ListsAndShowsGoodArchivesRefusesBadOnesInOneLine)
{
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
    const std::string bytes = fileBytes(good);
    std::ofstream(cut, std::ios::binary) << bytes.substr(0, bytes.size() - 3);

    struct Row {
        std::string args;
        int status;
        std::string out; // expected in stdout; for failures, in stderr
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
        {"show " + good + " one", 2, "usage:"},
        {"list", 2, "usage:"},
    };
    const std::string outPath = dir + "/inspector.out", errPath = dir + "/inspector.err";
    for (const Row& row : rows) {
        int status = std::system(("\"" + kInspector + "\" " + row.args + " >\"" + outPath + "\" 2>\"" +
                                  errPath + "\"").c_str());
#ifndef _WIN32
        status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
        const std::string out = fileBytes(outPath), err = fileBytes(errPath);
        SCOPED_TRACE(row.args + "\n" + out + err);
        EXPECT_EQ(status, row.status);
        EXPECT_NE((status == 0 ? out : err).find(row.out), std::string::npos);
        if (status == 0) {
            EXPECT_EQ(err, "");
        } else if (status == 1) { // one line, named after the tool
            EXPECT_EQ(err.rfind("tlvstd-archive: ", 0), 0u);
            EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1);
        }
    }
}

} // namespace
