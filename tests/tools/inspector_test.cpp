// The archive inspector run as a program on archives written here: plain and
// seekable, both byte orders, good and bad.
#include "../support/bytes.h"
#include "../support/gear.h"

#include "std/archive/filearchive.h"
#include "std/except/except.h"
#include "std/math/xfcomp.h"
#include "std/math/xfpersp.h"
#include "std/pelbuf/imagefile.h"
#include "std/pelbuf/pelbuf.h"
#include "std/util/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <vector>
#include <fstream>

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace {

// The build passes the path of the tool it makes beside this test.
const std::string kInspector = TLVSTD_ARCHIVE_TOOL;

struct Ran {
    int status;
    std::string out, err;
};

// A path of this test's own: ctest runs the tests side by side.
std::string testPath(const std::string& name)
{
    return testOutputDir() + "/" + testing::UnitTest::GetInstance()->current_test_info()->name() + "-" + name;
}

Ran inspector(const std::string& args)
{
    const std::string outPath = testPath("inspector.out"), errPath = testPath("inspector.err");
    int status = std::system(("\"" + kInspector + "\" " + args + " >\"" + outPath + "\" 2>\"" + errPath + "\"").c_str());
#ifndef _WIN32
    status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    return {status, fileBytes(outPath), fileBytes(errPath)};
}

// A sequence that holds one perspective transform twice (a new record, then
// a reference back to it), a bare integer between records, an exception and
// a 16-bit pel buffer, which holds its transform cache and its root. A
// seekable archive also gets a mark first and, at the end, a pointer record
// for the sequence stored again unchanged.
std::string writeSample(const std::string& name, bool seekable, ycArchive::Ordering ordering)
{
    const std::string path = testPath(name);
    ycFileArchive out(yfWiden(path), ycArchive::storing, ordering, seekable);
    if (seekable) out.writeNewMark(7);
    ycPtrHandle<yc2XformPerspective> keystone(new yc2XformPerspective(ycMatrix<3>(1, 0, 0, 0, 1, 0, 0.5, 0, 1)));
    yc2XformComposed twice(*keystone, *keystone, false, false);
    out << twice << std::int32_t{42};
    out << ycAssertFailure(L"broken");
    ycPelBuffer<unsigned short> image(3, 2);
    for (std::int32_t i = 0; i < 6; ++i) image.put(i % 3, i / 3, static_cast<unsigned short>(1000 * i));
    out << image;
    if (seekable) out.storeObject(&twice);
    return path;
}

// The plain listing in either byte order: records nest, the reference back
// to the perspective member and the null inverse of the cache are listed,
// and the integer between records is data.
constexpr const char* kPlainItems = R"(object 1 yc2XformComposed at 2, 139 bytes
  object 2 yc2XformPerspective at 36, 101 bytes
  reference to object 2 at 137
data at 141, 4 bytes
object 3 ycAssertFailure at 145, 43 bytes
object 4 ycPelBuffer<unsigned short> at 188, 239 bytes
  object 5 yc2XformCache at 248, 112 bytes
    object 6 yc2XformLinear at 274, 82 bytes
    reference to no object at 356
  object 7 ycPelRoot<unsigned short> at 364, 63 bytes
)";

// The seekable listing comes from the index: records are 8 bytes longer
// (id and size), the reference inside the sequence is a pointer, and the
// mark and the final pointer record are listed.
constexpr const char* kSeekableItems = R"(mark 7 at 2
object 1 yc2XformComposed at 10, 155 bytes
  object 2 yc2XformPerspective at 52, 109 bytes
  pointer to object 2 at 161
object 3 ycAssertFailure at 169, 51 bytes
object 4 ycPelBuffer<unsigned short> at 220, 271 bytes
  object 5 yc2XformCache at 288, 128 bytes
    object 6 yc2XformLinear at 322, 90 bytes
  object 7 ycPelRoot<unsigned short> at 420, 71 bytes
pointer to object 1 at 495
)";

TEST(Inspector, ListsEveryRecordInsideTheRecordThatHoldsIt)
{
    struct Row {
        bool seekable;
        ycArchive::Ordering ordering;
        std::string expected;
    } rows[] = {
        {false, ycArchive::bigEndian, std::string("version 1, big-endian, not seekable, 427 bytes\n") + kPlainItems},
        {false, ycArchive::littleEndian, std::string("version 1, little-endian, not seekable, 427 bytes\n") + kPlainItems},
        {true, ycArchive::bigEndian, std::string("version 1, big-endian, seekable, 499 bytes\n") + kSeekableItems},
        {true, ycArchive::littleEndian, std::string("version 1, little-endian, seekable, 499 bytes\n") + kSeekableItems},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expected);
        const Ran r = inspector("list " + writeSample("sample.arc", row.seekable, row.ordering));
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.out, row.expected);
        EXPECT_EQ(r.err, "");
    }
}

TEST(Inspector, ListsAsJsonWithTheSameItems)
{
    const Ran r = inspector("--json list " + writeSample("sample.arc", false, ycArchive::littleEndian));
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, R"({
  "archive": {
    "version": 1,
    "byteOrder": "little-endian",
    "seekable": false,
    "bytes": 427
  },
  "contents": [
    {
      "kind": "object",
      "id": 1,
      "type": "yc2XformComposed",
      "position": 2,
      "size": 139,
      "contents": [
        {
          "kind": "object",
          "id": 2,
          "type": "yc2XformPerspective",
          "position": 36,
          "size": 101
        },
        {
          "kind": "reference",
          "position": 137,
          "id": 2
        }
      ]
    },
    {
      "kind": "data",
      "position": 141,
      "size": 4
    },
    {
      "kind": "object",
      "id": 3,
      "type": "ycAssertFailure",
      "position": 145,
      "size": 43
    },
    {
      "kind": "object",
      "id": 4,
      "type": "ycPelBuffer<unsigned short>",
      "position": 188,
      "size": 239,
      "contents": [
        {
          "kind": "object",
          "id": 5,
          "type": "yc2XformCache",
          "position": 248,
          "size": 112,
          "contents": [
            {
              "kind": "object",
              "id": 6,
              "type": "yc2XformLinear",
              "position": 274,
              "size": 82
            },
            {
              "kind": "reference",
              "position": 356,
              "id": 0
            }
          ]
        },
        {
          "kind": "object",
          "id": 7,
          "type": "ycPelRoot<unsigned short>",
          "position": 364,
          "size": 63
        }
      ]
    }
  ]
}
)");
}

// The state shown is the same from either kind of archive; only the
// record's place differs.
constexpr const char* kBufferState = R"(  class: ycPelBuffer<unsigned short>
  pelType: unsigned short
  bound: true
  size: [3, 2]
  windowRoot: [0, 0, 3, 2]
  offset: [0, 0]
  rowUpdate: 16
  clientFromImage:
    class: yc2XformLinear
    isLinear: true
    matrix: [[1, 0], [0, 1]]
    vector: [0, 0]
  root:
    class: ycPelRoot<unsigned short>
    pelType: unsigned short
    width: 3
    height: 2
    rowUpdate: 16
    alignModulus: 32
  stats:
    min: 0
    max: 5000
    mean: 2500
)";

TEST(Inspector, ShowsTheLoadedStateAndWritesPels)
{
    struct Row {
        bool seekable;
        ycArchive::Ordering ordering;
        std::string id, expected;
    } rows[] = {
        {false, ycArchive::bigEndian, "4", std::string("object 4 ycPelBuffer<unsigned short> at 188, 239 bytes\n") + kBufferState},
        {true, ycArchive::littleEndian, "4", std::string("object 4 ycPelBuffer<unsigned short> at 220, 271 bytes\n") + kBufferState},
        // A record inside another, and one that a reference names twice.
        {false, ycArchive::littleEndian, "2", "object 2 yc2XformPerspective at 36, 101 bytes\n"
                                              "  class: yc2XformPerspective\n  isLinear: false\n"
                                              "  matrix: [[1, 0, 0], [0, 1, 0], [0.5, 0, 1]]\n"},
        {true, ycArchive::bigEndian, "3", "object 3 ycAssertFailure at 169, 51 bytes\n  class: ycAssertFailure\n"
                                          "  errorNumber: 268435459\n  message: ycAssertFailure: broken\n  info: broken\n"},
    };
    for (const Row& row : rows) {
        const std::string png = testPath("shown.png");
        std::filesystem::remove(png);
        const Ran r = inspector("show " + writeSample("sample.arc", row.seekable, row.ordering) + " " + row.id +
                                (row.id == "4" ? " --png " + png : ""));
        SCOPED_TRACE(row.expected + r.err);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.out, row.expected);
        if (row.id != "4") continue;
        const auto pels = yfReadImageAs<ycPelBuffer<unsigned short>>(png);
        ASSERT_EQ(pels.size(), ycPair<std::int32_t>(3, 2));
        for (std::int32_t i = 0; i < 6; ++i) EXPECT_EQ(pels.get(i % 3, i / 3), 1000 * i);
    }
    const Ran json = inspector("--json show " + writeSample("sample.arc", false, ycArchive::bigEndian) + " 3");
    EXPECT_EQ(json.out, R"({
  "archive": {
    "version": 1,
    "byteOrder": "big-endian",
    "seekable": false,
    "bytes": 427
  },
  "object": {
    "kind": "object",
    "id": 3,
    "type": "ycAssertFailure",
    "position": 145,
    "size": 43,
    "state": {
      "class": "ycAssertFailure",
      "errorNumber": 268435459,
      "message": "ycAssertFailure: broken",
      "info": "broken"
    }
  }
}
)");
}

// Gears are this test's own class, which the tool does not know: gear b holds
// a new record of gear a, gear c refers back to a, and a pel buffer follows.
TEST(Inspector, GoesOnPastRecordsOfClassesItDoesNotKnow)
{
    const std::string path = testPath("gears.arc");
    {
        ycFileArchive out(yfWiden(path), ycArchive::storing, ycArchive::littleEndian);
        Gear a("a", 1), b("b", 2, &a), c("c", 3, &a);
        ycPelBuffer<unsigned char> pels(2, 1);
        pels.put(0, 0, 5);
        pels.put(1, 0, 7);
        out << b << c << pels;
    }
    Ran r = inspector("list " + path);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, R"(version 1, little-endian, not seekable, 325 bytes
object 1 Gear at 2, class not known here
object 2 Gear at 30, class not known here
object 3 Gear at 66, class not known here
object 4 ycPelBuffer<unsigned char> at 98, 227 bytes
  object 5 yc2XformCache at 157, 112 bytes
    object 6 yc2XformLinear at 183, 82 bytes
    reference to no object at 265
  object 7 ycPelRoot<unsigned char> at 273, 52 bytes
)");
    r = inspector("show " + path + " 1");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("ycArchive::UnknownType: Gear"), std::string::npos) << r.err;
    r = inspector("show " + path + " 7");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.substr(0, r.out.find('\n')), "object 7 ycPelRoot<unsigned char> at 273, 52 bytes");
}

// An index may claim records nested deeper than any reader takes them.
TEST(Inspector, StopsAtTheNestingReadersAllow)
{
    const std::string path = testPath("chain.arc");
    {
        ycFileArchive out(yfWiden(path), ycArchive::storing, ycArchive::littleEndian, true);
        std::vector<std::unique_ptr<Gear>> chain;
        for (int i = 0; i < 1002; ++i)
            chain.push_back(std::make_unique<Gear>("g", i, chain.empty() ? nullptr : chain.back().get()));
        out << *chain.back();
    }
    const Ran r = inspector("list " + path);
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("stopped at the limit of 1000 nested records"), std::string::npos) << r.err;
}

// Failures: one line on stderr naming the tool and the file; a listing
// keeps what it found before.
TEST(Inspector, RefusesBadFilesAndCommandsInOneLine)
{
    const std::string plain = writeSample("sample.arc", false, ycArchive::bigEndian);
    const std::string seekable = writeSample("sample-seekable.arc", true, ycArchive::bigEndian);
    const std::string text = testPath("text.arc"), cut = testPath("cut.arc");
    std::ofstream(text) << "this is not an archive\n";
    const std::string bytes = fileBytes(plain);
    std::ofstream(cut, std::ios::binary) << bytes.substr(0, 300); // inside the cache's transform

    struct Row {
        std::string args;
        int status;
        std::string out;   // stdout, whole
        std::string error; // in stderr
    } rows[] = {
        {"--limit 3 list " + plain, 1,
         "version 1, big-endian, not seekable, 427 bytes\nobject 1 yc2XformComposed at 2, 139 bytes\n"
         "  object 2 yc2XformPerspective at 36, 101 bytes\n  reference to object 2 at 137\n",
         "stopped at the limit of 3 records"},
        {"list " + cut, 1,
         "version 1, big-endian, not seekable, 300 bytes\n" + std::string(kPlainItems).substr(0, 184) +
             "object 4 ycPelBuffer<unsigned short> at 188, unfinished\n"
             "  object 5 yc2XformCache at 248, unfinished\n"
             "    object 6 yc2XformLinear at 274, unfinished\n",
         "ycArchive::Eof"},
        {"--limit 5 show " + plain + " 1", 1, "", "stopped at the limit of 5 fields"},
        {"show " + plain + " 1 --png " + testPath("no.png"), 1, "", "object 1: yc2XformComposed is not an image"},
        {"show " + seekable + " 9", 1, "", "ycArchive::NotFound"},
        {"show " + plain + " 9", 1, "", "no record has id 9"},
        {"list " + text, 1, "", "ycArchive::UnknownArchiveVersion"},
        {"list " + testPath("missing.arc"), 1, "", "Could not open file: "},
        {"show " + plain + " one", 2, "", "usage:"},
        {"list " + plain + " --png x.png", 2, "", "usage:"},
        {"--limit list " + plain, 2, "", "usage:"},
        {"list", 2, "", "usage:"},
    };
    for (const Row& row : rows) {
        const Ran r = inspector(row.args);
        SCOPED_TRACE(row.args + "\n" + r.out + r.err);
        EXPECT_EQ(r.status, row.status);
        EXPECT_EQ(r.out, row.out);
        EXPECT_NE(r.err.find(row.error), std::string::npos);
        if (row.status == 1) {
            EXPECT_EQ(r.err.rfind("tlvstd-archive: ", 0), 0u);
            EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1);
        }
    }
}

TEST(Inspector, HelpSaysWhatTheCommandsDo)
{
    const Ran r = inspector("--help");
    EXPECT_EQ(r.status, 0);
    for (const char* word : {"list FILE", "show FILE ID", "--json", "--limit N", "--png OUT", "Exit status"})
        EXPECT_NE(r.out.find(word), std::string::npos) << word;
}

} // namespace
