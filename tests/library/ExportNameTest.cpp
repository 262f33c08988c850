#include "library/ExportName.h"

#include <gtest/gtest.h>

namespace {
constexpr char source[] = "_Velmoratide_20071024_093000~101500.aif";
}

TEST(ExportName, addsTheRecordingsDateAndTimes) {
    const std::string date = ExportName::datePart(source, {});
    EXPECT_EQ(date, "20071024_093000~101500");
    EXPECT_EQ(ExportName::withPart("/home/x.aif", date), "/home/x_20071024_093000~101500.aif");
}

TEST(ExportName, addsTheTimesOfARange) {
    EXPECT_EQ(ExportName::datePart(source, ExportName::Times{9.5 * 3600, 9.5 * 3600 + 61.9}),
              "20071024_093000~093101");
    EXPECT_EQ(ExportName::datePart(source, ExportName::Times{86399, 86410}), "20071024_235959~240010");
}

TEST(ExportName, findsTheExtensionInTheLastPartOnly) {
    EXPECT_EQ(ExportName::withPart("/a.b/x", "d"), "/a.b/x_d");
    EXPECT_EQ(ExportName::withPart("/a.b/x.y.aif", "d"), "/a.b/x.y_d.aif");
    EXPECT_EQ(ExportName::withPart("/a/.aif", "d"), "/a/.aif_d");
}

TEST(ExportName, addsTheNote_behindTheDate) {
    const std::string dated = ExportName::withPart("/h/x.aif", ExportName::datePart(source, {}));
    EXPECT_EQ(ExportName::withNote(dated, "Rain"), "/h/x_20071024_093000~101500_Rain.aif");
    EXPECT_EQ(ExportName::withNote("/h/x.aif", ""), "/h/x.aif");
}

TEST(ExportName, letsANoteNotLeadToAnotherFolder) {
    EXPECT_EQ(ExportName::withNote("/h/x.aif", "../in/out"), "/h/x_..-in-out.aif");
}

TEST(ExportName, cutsANoteBetweenCharacters_whereTheNameWouldBeTooLong) {
    const std::string chosen = "/h/" + std::string(200, 'x') + ".aif";
    std::string note;
    for (int count = 0; count < 42; ++count)
        note += "\u3042";
    const std::string named = ExportName::withNote(chosen, note);
    const std::string name = named.substr(3);
    EXPECT_LE(name.size(), 255u);
    EXPECT_EQ(name, std::string(200, 'x') + "_" + note.substr(0, 48) + ".aif");
    EXPECT_EQ(ExportName::withNote("/h/" + std::string(251, 'x') + ".aif", "note"),
              "/h/" + std::string(251, 'x') + ".aif");
}

TEST(ExportName, survivesASourceThatIsTooShort) {
    EXPECT_EQ(ExportName::datePart("x.aif", {}), "");
    EXPECT_EQ(ExportName::datePart("", ExportName::Times{}), "000000~000000");
}
