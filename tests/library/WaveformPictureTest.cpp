#include "library/WaveformPicture.h"

#include "library/TiffFile.h"
#include "SoundOfATest.h"
#include "support/FaultVolume.h"
#include "support/TemporaryFolder.h"

#include <cerrno>
#include <filesystem>
#include <fstream>

namespace {
using Column = WaveformEnvelope::Column;
constexpr QSize size(80, 40);
constexpr std::int64_t soundBytes = 123456;

QRgb at(const QImage& picture, int x, int yFromBelow) {
    return picture.pixel(x, picture.height() - 1 - yFromBelow);
}
const QRgb black = qRgb(0, 0, 0);
const QRgb white = qRgb(255, 255, 255);

class WaveformPictureTest : public testing::Test {
protected:
    std::string contentOf(const std::string& path) const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void write(const std::string& path, const std::string& content) const {
        std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
    }
    TemporaryFolder folder;
    PosixVolume files;
    FaultVolume volume{files};
    const std::string sound = folder.path() + "/Rabc.aiff";
    const std::string picture = folder.path() + "/.abc.tif";
    const QImage image = WaveformPicture::drawn(std::vector<Column>(80, Column{-9000, 9000}), size);
};
} // namespace

TEST_F(WaveformPictureTest, standsHiddenBesideItsSound) {
    EXPECT_EQ(WaveformPicture::pathOfSound("F/Rabc.aiff"), "F/.abc.tif");
    EXPECT_EQ(WaveformPicture::pathOfSound("/a.b/_Velmoratide_20071024_093000~101500.aif"),
              "/a.b/.Velmoratide_20071024_093000~101500.tif");
    EXPECT_EQ(WaveformPicture::pathOfSound("F.d/Rabc"), "F.d/.abc.tif");
    EXPECT_EQ(WaveformPicture::pathOfSound("Rabc.aiff"), ".abc.tif");
}

TEST_F(WaveformPictureTest, drawsSilenceAsALineInTheMiddleUnderTheGrid) {
    const QImage flat = WaveformPicture::drawn(std::vector<Column>(80), size);
    EXPECT_EQ(flat.size(), size);
    EXPECT_EQ(at(flat, 5, 30), black);
    EXPECT_EQ(at(flat, 5, 19), white); // trunc(0.5 * 40) - 0.5: the row whose middle is at 19.5
    EXPECT_NE(at(flat, 5, 20), black); // the upper half of the wave's own line, which is at 20.0
    EXPECT_EQ(at(flat, 5, 21), black);
}

TEST_F(WaveformPictureTest, drawsPositiveSamplesUpwards) {
    const QImage high = WaveformPicture::drawn(std::vector<Column>(80, Column{0, 16384}), size);
    for (const int y : {25, 28}) { // below (16384 / 32768 + 1) * 20 = 30
        EXPECT_EQ(qRed(at(high, 5, y)), 0) << y;
        EXPECT_GT(qGreen(at(high, 5, y)), 230) << y; // strokes blend where they meet
        EXPECT_EQ(qGreen(at(high, 5, y)), qBlue(at(high, 5, y))) << y;
    }
    EXPECT_EQ(at(high, 5, 32), black);
    EXPECT_EQ(at(high, 5, 15), black);
}

TEST_F(WaveformPictureTest, beginsItsPathInTheLowerLeftCorner) {
    const QImage high = WaveformPicture::drawn(std::vector<Column>(80, Column{0, 16384}), size);
    EXPECT_NE(at(high, 0, 5), black);
    EXPECT_EQ(at(high, 1, 5), black);
}

TEST_F(WaveformPictureTest, drawsTheGridWhereItBelongs) {
    const QImage flat = WaveformPicture::drawn(std::vector<Column>(80), size);
    for (const int x : {20, 40, 60})
        for (const int y : {0, 10, 39})
            EXPECT_EQ(at(flat, x, y), white) << x << ' ' << y;
    for (const int x : {10, 30, 50, 70}) { // two on, two off, from the lower edge
        EXPECT_EQ(at(flat, x, 0), white) << x;
        EXPECT_EQ(at(flat, x, 1), white) << x;
        EXPECT_EQ(at(flat, x, 2), black) << x;
        EXPECT_EQ(at(flat, x, 3), black) << x;
        EXPECT_EQ(at(flat, x, 4), white) << x;
        EXPECT_EQ(at(flat, x - 1, 0), black) << x;
        EXPECT_EQ(at(flat, x + 1, 0), black) << x;
    }
}

TEST_F(WaveformPictureTest, isReadBackAsItWasKept) {
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, image, soundBytes));
    EXPECT_EQ(WaveformPicture::kept(volume, sound, size, soundBytes), image);
}

TEST_F(WaveformPictureTest, leavesNothingElseInTheFolder) {
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, image, soundBytes));
    ASSERT_EQ(files.list(folder.path()).size(), 1U);
    EXPECT_EQ(files.list(folder.path())[0].name, ".abc.tif");
}

TEST_F(WaveformPictureTest, replacesWhatWasThere) {
    write(picture, "something else");
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, image, soundBytes));
    EXPECT_EQ(WaveformPicture::kept(volume, sound, size, soundBytes), image);
}

TEST_F(WaveformPictureTest, replacesALinkAndNotWhatItPointsTo) {
    write(folder.path() + "/elsewhere", "precious");
    std::filesystem::create_symlink(folder.path() + "/elsewhere", picture);
    std::filesystem::create_symlink(folder.path() + "/elsewhere", picture + ".part");
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, image, soundBytes));
    EXPECT_EQ(contentOf(folder.path() + "/elsewhere"), "precious");
    EXPECT_FALSE(std::filesystem::is_symlink(picture));
}

TEST_F(WaveformPictureTest, isNotTakenForThatOfAnotherSizeOrOfASoundThatGrew) {
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, image, soundBytes));
    EXPECT_FALSE(WaveformPicture::kept(volume, sound, QSize(80, 41), soundBytes));
    EXPECT_FALSE(WaveformPicture::kept(volume, sound, QSize(40, 80), soundBytes));
    EXPECT_FALSE(WaveformPicture::kept(volume, sound, size, soundBytes + 4));
}

TEST_F(WaveformPictureTest, isNone_whenItIsMissingOrAFolder) {
    EXPECT_FALSE(WaveformPicture::kept(volume, sound, size, soundBytes));
    std::filesystem::create_directory(picture);
    EXPECT_FALSE(WaveformPicture::kept(volume, sound, size, soundBytes));
}

TEST_F(WaveformPictureTest, isNone_whenItIsCutAnywhere) {
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, image, soundBytes));
    const std::string whole = contentOf(picture);
    for (std::size_t length = 0; length < whole.size(); length += length < 300 ? 1 : 997) {
        write(picture, whole.substr(0, length));
        EXPECT_FALSE(WaveformPicture::kept(volume, sound, size, soundBytes)) << length;
    }
}

TEST_F(WaveformPictureTest, isNone_whenAnyByteIsAnother) {
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, image, soundBytes));
    const std::string whole = contentOf(picture);
    for (std::size_t place = 0; place < whole.size(); ++place) {
        std::string other = whole;
        other[place] = static_cast<char>(other[place] ^ 0x55);
        write(picture, other);
        EXPECT_FALSE(WaveformPicture::kept(volume, sound, size, soundBytes)) << place;
    }
}

TEST_F(WaveformPictureTest, isNone_whenSomethingStandsBehindIt) {
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, image, soundBytes));
    write(picture, contentOf(picture) + "x");
    EXPECT_FALSE(WaveformPicture::kept(volume, sound, size, soundBytes));
}

TEST_F(WaveformPictureTest, takesLittleOfTheDisk) {
    std::vector<Column> columns;
    for (std::int16_t column = 0; column < 432; ++column)
        columns.push_back({static_cast<std::int16_t>(-20 * (column * 37 % 431)),
                           static_cast<std::int16_t>(30 * (column * 53 % 431))});
    const QImage busy = WaveformPicture::drawn(columns, QSize(432, 90));
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, busy, soundBytes));
    EXPECT_EQ(WaveformPicture::kept(volume, sound, busy.size(), soundBytes), busy);
    EXPECT_LT(std::filesystem::file_size(picture), 12'000U) << "of 116640 bytes of points";
}

TEST_F(WaveformPictureTest, leavesTheOldOneWholeAndNothingHalf_whenTheDiskIsFull) {
    ASSERT_TRUE(WaveformPicture::keep(volume, sound, image, soundBytes));
    volume.setRoom(100);
    EXPECT_FALSE(WaveformPicture::keep(volume, sound, image, soundBytes + 4));
    EXPECT_EQ(WaveformPicture::kept(files, sound, size, soundBytes), image);
    EXPECT_EQ(files.list(folder.path()).size(), 1U);
}

TEST_F(WaveformPictureTest, isNotKept_whenItsFolderIsGone) {
    EXPECT_FALSE(WaveformPicture::keep(volume, folder.path() + "/gone/Rabc.aiff", image, soundBytes));
}
