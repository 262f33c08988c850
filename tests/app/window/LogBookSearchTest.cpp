#include "app/window/LogBookSearch.h"

#include <gtest/gtest.h>
#include <vector>

namespace {
std::vector<int> places(const LogBookSearch& search) {
    std::vector<int> found;
    for (std::size_t i = 0; i < search.count(); ++i)
        found.push_back(search.position(i));
    return found;
}
} // namespace

TEST(LogBookSearch, findsWhateverTheCase_onePageAfterTheOther_theLastFirst) {
    LogBookSearch search;
    search.append("error\nError\n");
    search.prepend("an ERROR\n");
    search.setQuery("error");
    EXPECT_FALSE(search.isDone());
    EXPECT_TRUE(search.scan());
    EXPECT_EQ(places(search), (std::vector<int>{9, 15}));
    EXPECT_TRUE(search.scan());
    EXPECT_EQ(places(search), (std::vector<int>{3, 9, 15}));
    EXPECT_FALSE(search.scan());
    EXPECT_TRUE(search.isDone());
}

TEST(LogBookSearch, keepsItsPlaces_whenTheTextGrowsAtBothEnds) {
    LogBookSearch search;
    search.append("one\n");
    search.setQuery("one");
    while (search.scan())
        ;
    search.append("two one\n");
    EXPECT_EQ(places(search), (std::vector<int>{0, 8}));
    search.prepend("one more one\n");
    EXPECT_EQ(places(search), (std::vector<int>{13, 21}));
    EXPECT_FALSE(search.isDone());
    search.append("one\n"); // while a page before is still to be searched
    EXPECT_EQ(places(search), (std::vector<int>{13, 21, 25}));
    EXPECT_TRUE(search.scan());
    EXPECT_EQ(places(search), (std::vector<int>{0, 9, 13, 21, 25}));
}

TEST(LogBookSearch, findsTheNextPlace_orTheLast) {
    LogBookSearch search;
    search.append("one two one\n");
    search.setQuery("one");
    search.scan();
    EXPECT_EQ(search.placeFrom(0), 0U);
    EXPECT_EQ(search.placeFrom(1), 1U);
    EXPECT_EQ(search.placeFrom(9), 1U);
}

TEST(LogBookSearch, beginsAnew_withAnotherQuery_orAnotherText) {
    LogBookSearch search;
    search.setQuery("one");
    EXPECT_TRUE(search.isDone());
    search.append("one\n");
    EXPECT_TRUE(search.scan());
    search.setQuery("two");
    EXPECT_EQ(search.count(), 0U);
    EXPECT_TRUE(search.scan());
    EXPECT_EQ(search.count(), 0U);
    search.clear();
    search.append("two\n");
    EXPECT_TRUE(search.scan());
    EXPECT_EQ(places(search), (std::vector<int>{0}));
    search.setQuery("");
    EXPECT_TRUE(search.isDone());
    EXPECT_EQ(search.count(), 0U);
}

TEST(LogBookSearch, searchesLongTextInPages) {
    LogBookSearch search;
    const QString line = QString(1000, u'x') + "\n";
    for (int i = 0; i < 1000; ++i)
        search.append(line);
    search.setQuery("xx");
    int scans = 0;
    while (search.scan())
        ++scans;
    EXPECT_EQ(scans, 4);
    EXPECT_EQ(search.count(), 500'000U);
}
