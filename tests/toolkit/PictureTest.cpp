#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <algorithm>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <tuple>

#include "korvane/base/VirtualScheduler.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/PictureBytes.h"
#include "korvane/toolkit/PictureDecoder.h"
#include "korvane/toolkit/PictureHeader.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;
using Format = PictureHeader::Format;

std::optional<PictureHeader> headerOf(const QByteArray& bytes) {
    return PictureHeader::read(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QByteArray encoded(QSize size, const char* format) {
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::red);
    return encoded(image, format);
}

QByteArray number(unsigned value, int bytes) {
    QByteArray text;
    while (bytes-- > 0) text += static_cast<char>(value >> 8 * bytes & 255);
    return text;
}

QByteArray segment(unsigned marker, const QByteArray& content) {
    return number(0xff00 | marker, 2) + number(static_cast<unsigned>(content.size()) + 2, 2) + content;
}

/// Has no data at all, which a decoder fills up with grey.
QByteArray jpeg(unsigned frame, unsigned width, unsigned height, int scans, unsigned sampling = 0x11) {
    const QByteArray parts = QByteArray::fromHex("0301") + number(sampling, 1) + QByteArray::fromHex("00021100031100");
    QByteArray bytes = QByteArray::fromHex("ffd8") + segment(0xdb, QByteArray(1, 0) + QByteArray(64, 1)) +
                       segment(frame, number(8, 1) + number(height, 2) + number(width, 2) + parts);
    for (unsigned kind : {0x00U, 0x10U}) bytes += segment(0xc4, number(kind, 1) + number(1, 1) + QByteArray(16, 0));
    for (int scan = 0; scan < scans; ++scan)
        bytes += segment(0xda, QByteArray::fromHex(frame == 0xc2 && scan > 0 ? "0101000 13f00" : "0301000200030000") +
                                   (frame == 0xc2 ? QByteArray(scan > 0 ? 0 : 2, 0) : QByteArray::fromHex("3f00")));
    return bytes + QByteArray::fromHex("ffd9");
}

QByteArray png(unsigned width, unsigned height, const char* kind) {
    return encoded({9, 9}, "PNG").replace(16, 10, number(width, 4) + number(height, 4) + QByteArray::fromHex(kind));
}

QByteArray webp(const char* chunks) {
    return "RIFF" + QByteArray(4, 0) + "WEBP" + QByteArray::fromHex(chunks);
}

TEST(PictureDecoder, RefusesByTheHeaderWhatWouldCostTooMuch) {
    const char* const points = "a picture of too many points";
    const char* const passes = "a picture of too many passes";
    const char* const memory = "a picture that takes too much memory";
    const char* const kind = "no whole picture of a known kind";
    const std::tuple<const char*, QByteArray, const char*> cases[] = {
        {"JPEG of 167 bytes and 4 GB", jpeg(0xc2, 65535, 65535, 1), points},
        {"PNG of 10^12 points", png(1'000'000, 1'000'000, "0800"), points},
        {"longer than a decoder takes", png(2'000'000, 1, "0800"), kind},
        {"WebP of 268 million points", webp("5650384c050000002fffffff0f"), points},
        {"endless scans", jpeg(0xc2, 64, 64, 5000), passes},
        {"some scans of many points", jpeg(0xc2, 5000, 4000, 13), passes},
        {"progressive, held whole", jpeg(0xc2, 5000, 4000, 2), memory},
        {"in parts, held whole", jpeg(0xc0, 5000, 4000, 2), memory},
        {"PNG that cannot be scaled", png(4000, 4000, "0806"), memory},
        {"PNG of 16 bits", png(3000, 2000, "1006"), memory},
        {"second frame", jpeg(0xc0, 8, 8, 1).insert(2, jpeg(0xc0, 9000, 9000, 1).mid(2, 88)), kind},
        {"animation", webp("565038580a00000002000000070000070000"), kind},
        {"WebP that contradicts itself", webp("565038580a000000000000000700000700005650384c050000002fffffff0f"), kind},
        {"nothing", "", kind},
    };
    for (const auto& [name, bytes, fault] : cases) {
        const auto picture = PictureDecoder().decode(bytes, {134, 120});
        EXPECT_EQ(picture.fault.toStdString(), fault) << name;
        EXPECT_TRUE(picture.image.isNull()) << name;
    }
    EXPECT_EQ(PictureDecoder().decode(jpeg(0xc0, 8000, 8000, 1), {}).fault.toStdString(), memory) << "shown as a whole";
    EXPECT_EQ(PictureDecoder().decode(jpeg(0xc0, 9000, 7000, 1), {2600, 100}).fault.toStdString(), "");
    EXPECT_EQ(PictureDecoder().decode(jpeg(0xc0, 9000, 7000, 1), {100, 2600}).fault.toStdString(), memory) << "upright";
    const QImage small = PictureDecoder().decode(jpeg(0xc0, 8000, 8000, 1), {134, 120}).image;
    EXPECT_EQ(small.size(), QSize(134, 134)) << "scaled while it is decoded";
    EXPECT_EQ(headerOf(webp("56503820 0a000000 000000 9d012a 40012001"))->points(), 320U * 288U);
}

TEST(PictureDecoder, EndsWithItsProcessorTime) {
    for (const char* format : {"PNG", "JPG"}) {
        const QByteArray bytes = encoded({3000, 2000}, format);
        EXPECT_EQ(PictureDecoder().decode(bytes, {30, 20}).image.size(), QSize(30, 20)) << format;
        const auto broken = PictureDecoder({.processorTime = 100us}).decode(bytes, {30, 20});
        EXPECT_EQ(broken.fault.toStdString(), "a picture that takes too long") << format;
        EXPECT_TRUE(broken.image.isNull());
    }
    PictureBytes none(encoded({9, 9}, "PNG"), 0us);
    EXPECT_TRUE(none.read(1).isEmpty());
    EXPECT_TRUE(none.isSpent());
}

TEST(PictureDecoder, NoBoundMakesAnAcceptedJpegRefused) {
    QLoggingCategory::setFilterRules("qt.gui.imageio*=false");
    const QByteArray quarterTurn =
        segment(0xe1, QByteArray::fromHex("457869660000 4d4d002a00000008 0001 011200030000000100060000 00000000"));
    std::mt19937 random(1);
    const auto upTo = [&](unsigned most) { return 1 + static_cast<unsigned>(random()) % most; };
    for (int round = 0; round < 2000; ++round) {
        const unsigned width = upTo(200);
        const unsigned height = upTo(200);
        QByteArray bytes = jpeg(random() % 2 == 0 ? 0xc0 : 0xc2, width, height, 1, 0x11 * upTo(2));
        if (random() % 2 == 0) bytes.insert(2, quarterTurn);
        const PictureDecoder decoder({.bytes = 16 * upTo(200) * upTo(200)});
        const QSize bound(static_cast<int>(upTo(250)), static_cast<int>(upTo(250)));
        const QSize whole = decoder.decode(bytes, {}).image.size();
        const QSize shown = decoder.decode(bytes, bound).image.size();
        if (whole.isEmpty()) continue;
        const bool covers = shown.width() >= bound.width() && shown.height() >= bound.height();
        ASSERT_TRUE(shown == whole || covers) << width << " x " << height << ", seen in " << shown.width();
    }
    for (const QByteArray& bytes :
         {jpeg(0xc0, 4000, 3000, 1, 0x22), jpeg(0xc0, 4608, 3456, 1, 0x22), jpeg(0xc2, 3840, 2160, 2, 0x22)}) {
        for (const QSize bound : {QSize(1280, 720), QSize(1920, 1080), QSize(3700, 2100), QSize()}) {
            const auto [image, fault] = PictureDecoder().decode(bytes, bound);
            EXPECT_EQ(fault.toStdString(), "") << bound.width();
            EXPECT_TRUE(image.width() == bound.width() || bound.width() > 1920 || bound.isEmpty()) << bound.width();
        }
    }
}

TEST(PictureDecoder, HasTimeForAThumbnailOfALargeNoisyPicture) {
    QImage noise(3840, 2160, QImage::Format_RGB32);
    std::mt19937 random(1);
    for (int y = 0; y < noise.height(); ++y)
        std::generate_n(reinterpret_cast<std::uint32_t*>(noise.scanLine(y)), noise.width(), std::ref(random));
    for (const char* format : {"PNG", "JPG"})
        EXPECT_EQ(PictureDecoder().decode(encoded(noise, format), {134, 120}).fault.toStdString(), "") << format;
}

// Whatever becomes of a picture's bytes, it is shown as a whole in the size that its header tells, or not at all.
TEST(PictureDecoder, ShowsOnlyWhatIsWholeAndAsLargeAsTold) {
    QLoggingCategory::setFilterRules("qt.gui.imageio*=false");
    for (const char* format : {"PNG", "JPG"}) {
        const QByteArray good = encoded({40, 30}, format);
        for (qsizetype length = 0; length < good.size(); ++length)
            ASSERT_TRUE(PictureDecoder().decode(good.left(length), {}).image.isNull())
                << format << " cut at " << length;
        std::mt19937 random(1);
        for (int round = 0; round < 2000; ++round) {
            QByteArray bytes = good;
            for (int change = 0; change < 3; ++change)
                bytes[static_cast<qsizetype>(random() % static_cast<unsigned>(bytes.size()))] =
                    static_cast<char>(random());
            const QImage image = PictureDecoder({.points = 1'000'000}).decode(bytes, {}).image;
            const auto header = headerOf(bytes);
            if (image.isNull()) continue;
            ASSERT_TRUE(header.has_value());
            ASSERT_EQ(static_cast<std::uint64_t>(image.width()) * static_cast<std::uint64_t>(image.height()),
                      header->points());
        }
    }
}

TEST(PictureDecoder, BoundsTheDiskCacheToo) {
    QTemporaryDir folder;
    VirtualScheduler scheduler;
    ImageCache cache(scheduler, folder.path());
    QImage thin(5000, 4000, QImage::Format_Mono);
    thin.fill(0);
    EXPECT_FALSE(cache.storeImageToDisk(thin, "key"));
    EXPECT_TRUE(cache.imageFromDiskCacheForKey("key").isNull());
    const QImage wide = thin.copy(0, 0, 4096, 4000);
    ASSERT_TRUE(cache.storeImageToDisk(wide, "key"));
    EXPECT_EQ(cache.imageFromDiskCacheForKey("key").size(), wide.size());
}

}  // namespace
}  // namespace korvane
