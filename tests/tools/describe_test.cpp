// What the inspector says about loaded objects: one row per class family,
// stored, loaded back through the registry and described; the field budget;
// pel objects written as PNG.
#include "../support/bytes.h"

#include "budget.h"
#include "describe.h"
#include "tree.h"

#include "std/archive/archive.h"
#include "std/archive/persist.h"
#include "std/math/xfcomp.h"
#include "std/math/xfpersp.h"
#include "std/math/xfpoly.h"
#include "std/pelbuf/imagefile.h"
#include "std/pelbuf/pel3buf.h"
#include "std/pelbuf/xfcache.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

std::unique_ptr<ycPersistent> reloaded(const ycPersistent& object)
{
    ycMemoryArchive out;
    out << object;
    LoadArchive in(out);
    return ycPersistent::readObject(*in);
}

Node described(const ycPersistent& object)
{
    Budget fields(Budget::kDefault, "fields");
    return describe(object, fields);
}

std::string text(const ycPersistent& object)
{
    std::ostringstream os;
    writeText(os, described(object));
    return os.str();
}

// A new buffer holding `pels` row by row.
template <class B>
B image(std::int32_t width, std::int32_t height, const std::vector<typename B::value_type>& pels)
{
    B b(width, height);
    b.copyFromBuffer(pels.data());
    return b;
}

template <class B>
std::vector<typename B::value_type> pelsOf(const B& b)
{
    std::vector<typename B::value_type> pels(static_cast<std::size_t>(b.width()) * b.height());
    b.copyToBuffer(pels.data());
    return pels;
}

std::uint64_t nodeCount(const Node& node)
{
    std::uint64_t n = 1;
    if (node.isList())
        for (const Node& item : node.items()) n += nodeCount(item);
    if (node.isObject())
        for (const auto& field : node.fields()) n += nodeCount(field.second);
    return n;
}

const yc2XformLinear kLinear(ycMatrix<2>(1, 2, 3, 4), ycVector<2>(0.5, -6));
const yc2XformPerspective kPerspective(ycMatrix<3>(2, 0, 1, 0, 1, 3, 0.25, 0, 1));

const char* const kLinearText = "  isLinear: true\n"
                                "  matrix: [[1, 2], [3, 4]]\n"
                                "  vector: [0.5, -6]\n";

TEST(Describe, EachClassFamilyAsText)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    auto bytes = image<ycPelBuffer<unsigned char>>(3, 2, {1, 2, 3, 250, 5, 6});
    auto rgb = image<ycPelBuffer<ycPackedRGB32Pel>>(2, 1, {{10, 20, 30, 0}, {20, 40, 60, 255}});
    auto planes = image<yc3PlanePelBuffer>(2, 1, {{1, 2, 3}, {3, 4, 5}});
    auto reals = image<ycPelBuffer<float>>(3, 1, {1.5f, nan, -0.5f});
    auto pairs = image<ycPelBuffer<ycPair<std::int32_t>>>(2, 1, {{1, -2}, {3, -4}});

    auto shorts = image<ycPelBuffer<short>>(4, 3, {0, 1, 2, 3, 4, -5, 6, 7, 8, 9, -8, 11});
    shorts.windowRoot(1, 1, 2, 2);
    shorts.offset(10, 20);
    shorts.clientFromImageXformBase(kLinear);
    yc3PlanePelBuffer hsi = planes;
    hsi.colorSpace(ycColorSpaceDefs::HSI);

    yc2XformCache cache(kLinear);

    struct Row {
        const ycPersistent& object;
        std::string text;
    } rows[] = {
        {ycArchive::BadFile("archive", 12),
         "class: ycArchive::BadFile\nerrorNumber: 268435721\n"
         "message: ycArchive::BadFile: thrown from file: archive, line: 12\n"
         "file: archive\nline: 12\n"},
        {ycAssertFailure(L"f\u00e9(3): assertion failed"),
         "class: ycAssertFailure\nerrorNumber: 268435459\n"
         "message: ycAssertFailure: f\u00e9(3): assertion failed\ninfo: f\u00e9(3): assertion failed\n"},
        {kLinear, "class: yc2XformLinear\nisLinear: true\nmatrix: [[1, 2], [3, 4]]\nvector: [0.5, -6]\n"},
        {kPerspective, "class: yc2XformPerspective\nisLinear: false\nmatrix: [[2, 0, 1], [0, 1, 3], [0.25, 0, 1]]\n"},
        {yc2XformComposed(kPerspective, kLinear, true, true),
         std::string("class: yc2XformComposed\nisLinear: false\nmembers:\n"
                     "  - class: yc2XformPerspective\n    isLinear: false\n"
                     "    matrix: [[2, 0, 1], [0, 1, 3], [0.25, 0, 1]]\n"
                     "  - class: yc2XformLinear\n    isLinear: true\n    matrix: [[1, 2], [3, 4]]\n"
                     "    vector: [0.5, -6]\n")},
        {yc2XformPoly(2, {1, 2, 0, 0.5, 0, 0}, {0, 0, 1, 0, 0, 0}),
         "class: yc2XformPoly\nisLinear: false\ndegree: 2\n"
         "xCoefficients: [1, 2, 0, 0.5, 0, 0]\nyCoefficients: [0, 0, 1, 0, 0, 0]\n"},
        {cache, std::string("class: yc2XformCache\nisLinear: true\nclientFromImage:\n  class: yc2XformLinear\n") +
                    kLinearText + "imageFromClient: null\n"},
        {*bytes.root(), "class: ycPelRoot<unsigned char>\npelType: unsigned char\nwidth: 3\nheight: 2\n"
                        "rowUpdate: 32\nalignModulus: 32\nstats:\n  min: 1\n  max: 250\n  mean: 44.5\n"},
        {*rgb.root(), "class: ycPelRoot<ycPackedRGB32Pel>\npelType: ycPackedRGB32Pel\nwidth: 2\nheight: 1\n"
                      "rowUpdate: 8\nalignModulus: 32\nstats:\n"
                      "  red:\n    min: 10\n    max: 20\n    mean: 15\n"
                      "  green:\n    min: 20\n    max: 40\n    mean: 30\n"
                      "  blue:\n    min: 30\n    max: 60\n    mean: 45\n"
                      "  fourth:\n    min: 0\n    max: 255\n    mean: 127.5\n"},
        {*planes.root(), "class: ycPelRoot<yc3PlanePel>\npelType: yc3PlanePel\nwidth: 2\nheight: 1\n"
                         "rowUpdate: 32\nalignModulus: 32\nstats:\n"
                         "  red:\n    min: 1\n    max: 3\n    mean: 2\n"
                         "  green:\n    min: 2\n    max: 4\n    mean: 3\n"
                         "  blue:\n    min: 3\n    max: 5\n    mean: 4\n"},
        {*reals.root(), "class: ycPelRoot<float>\npelType: float\nwidth: 3\nheight: 1\nrowUpdate: 8\n"
                        "alignModulus: 32\nstats:\n  min: -0.5\n  max: 1.5\n  mean: 0.5\n  nanCount: 1\n"},
        {*pairs.root(), "class: ycPelRoot<ycPair<long>>\npelType: ycPair<long>\nwidth: 2\nheight: 1\n"
                        "rowUpdate: 4\nalignModulus: 32\nstats:\n"
                        "  x:\n    min: 1\n    max: 3\n    mean: 2\n"
                        "  y:\n    min: -4\n    max: -2\n    mean: -3\n"},
        {ycPelRoot<short>(), "class: ycPelRoot<short>\npelType: short\nwidth: 0\nheight: 0\nrowUpdate: 0\n"
                             "alignModulus: 0\nstats: null\n"},
        {shorts, std::string("class: ycPelBuffer<short>\npelType: short\nbound: true\nsize: [2, 2]\n"
                             "windowRoot: [1, 1, 2, 2]\noffset: [10, 20]\nrowUpdate: 16\n"
                             "clientFromImage:\n  class: yc2XformLinear\n") +
                     kLinearText +
                     "root:\n  class: ycPelRoot<short>\n  pelType: short\n  width: 4\n  height: 3\n"
                     "  rowUpdate: 16\n  alignModulus: 32\nstats:\n  min: -8\n  max: 9\n  mean: 0.5\n"},
        {hsi, "class: yc3PlanePelBuffer\npelType: yc3PlanePel\nbound: true\nsize: [2, 1]\n"
              "windowRoot: [0, 0, 2, 1]\noffset: [0, 0]\nrowUpdate: 32\ncolorSpace: HSI\n"
              "clientFromImage:\n  class: yc2XformLinear\n  isLinear: true\n  matrix: [[1, 0], [0, 1]]\n"
              "  vector: [0, 0]\n"
              "root:\n  class: ycPelRoot<yc3PlanePel>\n  pelType: yc3PlanePel\n  width: 2\n  height: 1\n"
              "  rowUpdate: 32\n  alignModulus: 32\nstats:\n"
              "  hue:\n    min: 1\n    max: 3\n    mean: 2\n"
              "  saturation:\n    min: 2\n    max: 4\n    mean: 3\n"
              "  intensity:\n    min: 3\n    max: 5\n    mean: 4\n"},
        {ycPelBuffer_const<float>(),
         "class: ycPelBuffer_const<float>\npelType: float\nbound: false\nsize: [0, 0]\n"
         "windowRoot: [0, 0, 0, 0]\noffset: [0, 0]\nrowUpdate: null\n"
         "clientFromImage:\n  class: yc2XformLinear\n  isLinear: true\n  matrix: [[1, 0], [0, 1]]\n"
         "  vector: [0, 0]\nroot: null\nstats: null\n"},
    };
    for (const Row& row : rows) {
        std::unique_ptr<ycPersistent> loaded = reloaded(row.object);
        EXPECT_EQ(text(*loaded), row.text);
    }
}

TEST(Describe, CacheInverseAndLongListsAsJson)
{
    yc2XformCache cache(yc2XformLinear(ycMatrix<2>(2, 0, 0, 4), ycVector<2>(2, 4)));
    cache.xformInverse();
    std::ostringstream json;
    writeJson(json, described(*reloaded(cache)));
    EXPECT_EQ(json.str(), "{\n"
                          "  \"class\": \"yc2XformCache\",\n"
                          "  \"isLinear\": true,\n"
                          "  \"clientFromImage\": {\n"
                          "    \"class\": \"yc2XformLinear\",\n"
                          "    \"isLinear\": true,\n"
                          "    \"matrix\": [[2, 0], [0, 4]],\n"
                          "    \"vector\": [2, 4]\n"
                          "  },\n"
                          "  \"imageFromClient\": {\n"
                          "    \"class\": \"yc2XformLinear\",\n"
                          "    \"isLinear\": true,\n"
                          "    \"matrix\": [[0.5, -0], [-0, 0.25]],\n"
                          "    \"vector\": [-1, -1]\n"
                          "  }\n"
                          "}\n");

    // Degree 11 has 78 coefficients per coordinate.
    const Node poly = described(*reloaded(yc2XformPoly(11, ycXform<2>())));
    for (const char* name : {"xCoefficients", "yCoefficients"}) {
        ASSERT_NE(poly.find(name), nullptr);
        EXPECT_EQ(poly.find(name)->items().size(), 64u);
        const Node* omitted = poly.find(std::string(name) + "Omitted");
        ASSERT_NE(omitted, nullptr);
        EXPECT_EQ(std::get<std::int64_t>(omitted->value()), 14);
    }
}

TEST(Describe, BudgetStopsMembersSharedAtEveryLevel)
{
    // Small to store, 2^100 members when written out as a tree.
    ycPtrHandle<yc2XformBase> level = kLinear.clone();
    for (int i = 0; i < 100; ++i) level = ycPtrHandle<yc2XformBase>(new yc2XformComposed(*level, *level, false, false));
    std::unique_ptr<ycPersistent> loaded = reloaded(*level);
    try {
        described(*loaded);
        ADD_FAILURE() << "no limit";
    } catch (const LimitReached& e) {
        EXPECT_STREQ(e.what(), "stopped at the limit of 1000000 fields");
    }

    // Every node is spent, those of nested objects included.
    std::unique_ptr<ycPersistent> composed = reloaded(yc2XformComposed(kPerspective, kLinear, true, true));
    const std::uint64_t nodes = nodeCount(described(*composed));
    Budget enough(nodes, "fields"), short1(nodes - 1, "fields");
    EXPECT_NO_THROW(describe(*composed, enough));
    EXPECT_THROW(describe(*composed, short1), LimitReached);
}

TEST(Describe, PngHoldsTheWindowOfFourKindsAndRefusesOthers)
{
    const std::string dir = testOutputDir();
    auto grey = image<ycPelBuffer<unsigned char>>(4, 2, {1, 2, 3, 4, 5, 6, 7, 8});
    grey.windowRoot(1, 0, 2, 2);
    auto deep = image<ycPelBuffer<unsigned short>>(2, 1, {0, 65535});
    auto rgb = image<ycPelBuffer<ycPackedRGB32Pel>>(2, 1, {{1, 2, 3, 9}, {4, 5, 6, 9}});
    auto planes = image<yc3PlanePelBuffer>(1, 2, {{7, 8, 9}, {10, 11, 12}});

    writePng(grey, dir + "/describe-grey.png");
    EXPECT_EQ(pelsOf(yfReadImageAs<ycPelBuffer<unsigned char>>(dir + "/describe-grey.png")),
              (std::vector<unsigned char>{2, 3, 6, 7}));
    writePng(*reloaded(*deep.root()), dir + "/describe-deep.png");
    EXPECT_EQ(pelsOf(yfReadImageAs<ycPelBuffer<unsigned short>>(dir + "/describe-deep.png")),
              (std::vector<unsigned short>{0, 65535}));
    writePng(*reloaded(rgb), dir + "/describe-rgb.png");
    EXPECT_EQ(pelsOf(yfReadImageAs<ycPelBuffer<ycPackedRGB32Pel>>(dir + "/describe-rgb.png")),
              (std::vector<ycPackedRGB32Pel>{{1, 2, 3, 0}, {4, 5, 6, 0}}));
    writePng(*reloaded(*planes.root()), dir + "/describe-planes.png");
    EXPECT_EQ(pelsOf(yfReadImageAs<yc3PlanePelBuffer>(dir + "/describe-planes.png")),
              (std::vector<yc3PlanePel>{{7, 8, 9}, {10, 11, 12}}));

    const std::string kinds = " has no PNG form: a PNG holds 8 or 16-bit grey, RGB32 or three-plane pels";
    ycPelBuffer<unsigned char> emptyWindow = grey;
    emptyWindow.windowRoot(0, 0, 0, 2);
    struct Row {
        const ycPersistent& object;
        std::string text;
    } rows[] = {
        {ycPelBuffer<float>(2, 2), "ycPelBuffer<float>" + kinds},
        {ycPelRoot<ycPackedRGB16Pel>(2, 2, 4), "ycPelRoot<ycPackedRGB16Pel>" + kinds},
        {kLinear, "yc2XformLinear is not an image: only pel buffers and pel roots go to a PNG"},
        {ycPelBuffer_const<unsigned char>(), "ycPelBuffer_const<unsigned char> is unbound: it has no pels to write"},
        {emptyWindow, "ycPelBuffer<unsigned char> has an empty window: it has no pels to write"},
        {ycPelRoot<yc3PlanePel>(), "ycPelRoot<yc3PlanePel> is empty: it has no pels to write"},
    };
    for (const Row& row : rows) {
        try {
            writePng(row.object, dir + "/describe-refused.png");
            ADD_FAILURE() << row.text;
        } catch (const std::invalid_argument& e) {
            EXPECT_EQ(e.what(), row.text);
        }
    }
}

} // namespace
