#include <gtest/gtest.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QPainter>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/qt/VirtualUi.h"
#include "toolkit/FrameGrabber.h"
#include "toolkit/ImageCache.h"
#include "toolkit/ImageLoader.h"
#include "toolkit/ImageView.h"
#include "toolkit/QtScheduler.h"

namespace korvane {
namespace {

using namespace std::chrono_literals;

QImage picture(int width, int height, const QColor& color = Qt::red) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

QByteArray encoded(const QImage& image, const char* format) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

TEST(ImageCache, KeepsTheMostRecentlyUsedWithinItsLimit) {
    VirtualScheduler scheduler;
    ImageCache cache(scheduler, {});
    const std::int64_t one = picture(10, 10).sizeInBytes();
    cache.setMaxMemoryCost(3 * one);
    for (const char* key : {"a", "b", "c"}) cache.storeImageToMemory(picture(10, 10), key);
    EXPECT_FALSE(cache.imageFromMemoryCacheForKey("a").isNull());
    cache.storeImageToMemory(picture(10, 10), "d");
    EXPECT_TRUE(cache.imageFromMemoryCacheForKey("b").isNull()) << "the least recently used went";
    EXPECT_FALSE(cache.imageFromMemoryCacheForKey("a").isNull());
    EXPECT_EQ(cache.memoryCost(), 3 * one);
    cache.storeImageToMemory({}, "a");
    EXPECT_FALSE(cache.imageFromMemoryCacheForKey("a").isNull()) << "an empty image stores nothing";
    cache.storeImageToMemory(picture(5, 10), "a");
    EXPECT_EQ(cache.imageFromMemoryCacheForKey("a").width(), 5);
    EXPECT_EQ(cache.memoryCost(), 2 * one + one / 2);
    cache.storeImageToMemory(picture(100, 100), "huge");
    EXPECT_TRUE(cache.imageFromMemoryCacheForKey("huge").isNull());
    EXPECT_FALSE(cache.imageFromMemoryCacheForKey("c").isNull()) << "and it drove nothing else out";
    EXPECT_LE(cache.imageFromMemoryCacheForKey("c").sizeInBytes(), one * 4 / 5) << "opaque ones are packed";
    EXPECT_EQ(cache.imageFromMemoryCacheForKey("c").pixelColor(9, 9), QColor(Qt::red));
    cache.setMaxMemoryCost(one);
    EXPECT_LE(cache.memoryCost(), one);
}

TEST(ImageCache, EmptiesItsDiskLevelAndKnowsThatItIsEmpty) {
    QTemporaryDir folder;
    const QString directory = folder.filePath("level");
    VirtualScheduler scheduler;
    ImageCache cache(scheduler, directory);
    const QString key = "../cam/1_2";
    EXPECT_TRUE(cache.storeImageToDisk(picture(4, 4), key));
    EXPECT_EQ(ImageCache(scheduler, directory).imageFromDiskCacheForKey(key).width(), 4);
    EXPECT_EQ(QDir(directory).entryList(QDir::Files).size(), 1);
    int done = 0;
    cache.clearDiskOnCompletion([&] { ++done; });
    EXPECT_EQ(done, 0);
    scheduler.runUntilIdle();
    EXPECT_EQ(done, 1);
    EXPECT_TRUE(cache.imageFromDiskCacheForKey(key).isNull());
    ASSERT_TRUE(QFile(directory + "/stray").open(QIODevice::WriteOnly));
    cache.clearDiskOnCompletion([&] { ++done; });
    cache.clearDiskOnCompletion({});
    scheduler.runUntilIdle();
    EXPECT_EQ(done, 2);
    EXPECT_TRUE(QFile::exists(directory + "/stray")) << "a level known to be empty is not looked at";
    EXPECT_FALSE(ImageCache(scheduler, {}).storeImageToDisk(picture(4, 4), key));
}

/// Answers by path; what has no answer is held open. Each connection serves one request.
class Service : public QObject {
  public:
    Service() {
        server.listen(QHostAddress::LocalHost);
        connect(&server, &QTcpServer::newConnection, this, [this] {
            QTcpSocket* socket = server.nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(*socket); });
        });
    }

    QUrl url(const QString& path) const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(server.serverPort()).arg(path));
    }

    std::map<QString, QByteArray> bodies;
    std::vector<QString> asked;
    int heldOpen = 0;

  private:
    void answer(QTcpSocket& socket) {
        const QString path = QString::fromLatin1(socket.readAll().split(' ').value(1));
        asked.push_back(path);
        if (path == "/vanish") return socket.abort();
        if (path == "/held") return static_cast<void>(++heldOpen);
        const auto found = bodies.find(path);
        const QByteArray body = found == bodies.end() ? QByteArray("no") : found->second;
        const qsizetype announced = path == "/cut" ? body.size() * 2 : body.size();
        socket.write(found == bodies.end() ? "HTTP/1.1 404 Not Found\r\n" : "HTTP/1.1 200 OK\r\n");
        socket.write("Connection: close\r\nContent-Length: " + QByteArray::number(announced) + "\r\n\r\n" + body);
        socket.disconnectFromHost();
    }

    QTcpServer server;
};

class LoadingTest : public testing::Test {
  protected:
    using Outcome = std::pair<QImage, QString>;

    static void runUntil(const std::function<bool()>& done) {
        while (!done()) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

    static Outcome load(ImageLoader& loader, const QUrl& url, QSize bound = {}) {
        std::optional<Outcome> outcome;
        loader.load(url, bound, [&](const QImage& image, const QString& error) { outcome = {image, error}; });
        EXPECT_FALSE(outcome) << "never within the call";
        runUntil([&] { return outcome.has_value(); });
        return *outcome;
    }

    QUrl write(const QString& name, const QByteArray& bytes) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return QUrl::fromLocalFile(file.fileName());
    }

    QtScheduler scheduler;
    QTemporaryDir folder;
    Service service;
};

TEST_F(LoadingTest, GoodPicturesComeScaledToTheirBound) {
    ImageLoader loader(scheduler);
    service.bodies["/a.jpg"] = encoded(picture(1280, 720), "JPG");
    service.bodies["/b.png"] = encoded(picture(60, 40), "PNG");
    struct Case {
        QUrl url;
        QSize bound;
        QSize size;
    };
    for (const auto& c : std::vector<Case>{
             {service.url("/a.jpg"), {}, {1280, 720}},
             {service.url("/a.jpg"), {134, 120}, {213, 120}},
             {service.url("/b.png"), {134, 120}, {60, 40}},
             {write("c.jpg", encoded(picture(1280, 720), "JPG")), {320, 10}, {320, 180}},
         }) {
        const auto [image, error] = load(loader, c.url, c.bound);
        EXPECT_EQ(image.size(), c.size) << c.url.path().toStdString();
        EXPECT_EQ(error.toStdString(), "");
    }
}

TEST_F(LoadingTest, BadRepliesGiveAReasonWithoutTheUrl) {
    ImageLoader::Limits limits;
    limits.maxBytes = 20'000;
    limits.idleTimeout = 40ms;
    ImageLoader loader(scheduler, limits);
    service.bodies["/garbage"] = QByteArray(5000, 'x');
    service.bodies["/empty"] = "";
    service.bodies["/big"] = QByteArray(5'000'000, 'x');
    service.bodies["/cut"] = encoded(picture(50, 50), "PNG");
    for (const QUrl& url :
         {service.url("/garbage"), service.url("/empty"), service.url("/big"), service.url("/cut"),
          service.url("/missing"), service.url("/vanish"), service.url("/held"), write("garbage.jpg", "nothing"),
          write("big.jpg", QByteArray(30'000, 'x')), QUrl("file:///dev/zero"), QUrl("file:///absent.png"),
          QUrl("ftp://127.0.0.1/a.png"), QUrl("http://"), QUrl()}) {
        SCOPED_TRACE(url.toString().toStdString());
        const auto [image, error] = load(loader, url);
        EXPECT_TRUE(image.isNull());
        EXPECT_FALSE(error.isEmpty());
        EXPECT_FALSE(error.contains("127.0.0.1"));
    }
}

TEST_F(LoadingTest, NewestGoesFirstAndEqualOnesShare) {
    ImageLoader::Limits limits;
    limits.loadsAtATime = 1;
    ImageLoader loader(scheduler, limits);
    std::vector<std::string> order;
    const auto note = [&](const char* name) {
        return [&order, name](const QImage&, const QString&) { order.push_back(name); };
    };
    for (const char* path : {"/first", "/old", "/new"}) service.bodies[path] = encoded(picture(4, 4), "PNG");
    loader.load(service.url("/first"), {}, note("first"));
    loader.load(service.url("/old"), {}, note("old"));
    loader.load(service.url("/new"), {}, note("new"));
    loader.load(service.url("/new"), {}, note("new again"));
    const auto gone = loader.load(service.url("/gone"), {}, note("gone"));
    const auto half = loader.load(service.url("/old"), {}, note("half"));
    loader.cancel(gone);
    loader.cancel(half);
    loader.cancel(0);
    runUntil([&] { return order.size() == 4; });
    EXPECT_EQ(order, (std::vector<std::string>{"first", "old", "new", "new again"}))
        << "asking again made the old one the newest";
    EXPECT_EQ(service.asked, (std::vector<QString>{"/first", "/old", "/new"}));
}

TEST_F(LoadingTest, CancelledAndOrphanedLoadsStaySilent) {
    auto loader = std::make_unique<ImageLoader>(scheduler);
    const auto never = [](const QImage&, const QString&) { FAIL() << "called after cancel"; };
    const auto held = loader->load(service.url("/held"), {}, never);
    runUntil([&] { return service.heldOpen == 1; });
    loader->cancel(held);
    service.bodies["/b"] = encoded(picture(4, 4), "PNG");
    EXPECT_FALSE(load(*loader, service.url("/b")).first.isNull());
    loader->load(service.url("/held"), {}, never);
    runUntil([&] { return service.heldOpen == 2; });
    loader->load(service.url("/b"), {}, [&](const QImage&, const QString&) { loader.reset(); });
    loader->load(service.url("/b"), {}, never);
    runUntil([&] { return !loader; });
    QCoreApplication::processEvents();
}

class FrameGrabberTest : public LoadingTest {
  protected:
    using Frame = std::pair<int, QImage>;

    static Frame grab(FrameGrabber& grabber, const QUrl& url, QSize bound = {}) {
        std::optional<Frame> frame;
        grabber.grab(url, bound, [&](int result, const QImage& image) { frame = {result, image}; });
        runUntil([&] { return frame.has_value(); });
        return *frame;
    }

    static QByteArray contentOf(const QUrl& url) {
        QFile file(url.toLocalFile());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    QUrl makeClip(const QString& name, const QString& options) {
        const QString path = folder.filePath(name);
        const QString command = "ffmpeg -v error -y -f lavfi -i color=c=blue:s=320x180:r=10:d=1 " + options;
        EXPECT_EQ(std::system((command + " " + path).toLocal8Bit().constData()), 0);
        return QUrl::fromLocalFile(path);
    }
};

TEST_F(FrameGrabberTest, TakesTheFirstFrameOfFilesAndServices) {
    FrameGrabber grabber(scheduler);
    const QUrl clip = makeClip("clip.mp4", "-movflags +faststart -pix_fmt yuv420p");
    service.bodies["/clip.mp4"] = contentOf(clip);
    for (const QUrl& url : {clip, service.url("/clip.mp4")}) {
        const auto [result, image] = grab(grabber, url);
        ASSERT_EQ(result, FrameGrabber::success) << url.scheme().toStdString();
        EXPECT_EQ(image.size(), QSize(320, 180));
        const QColor middle = image.pixelColor(160, 90);
        EXPECT_GT(middle.blue(), 230);
        EXPECT_LT(middle.red() + middle.green(), 40);
        EXPECT_EQ(grab(grabber, url, {101, 20}).second.size(), QSize(101, 56));
    }
}

TEST_F(FrameGrabberTest, BadVideosGiveACode) {
    FrameGrabber::Limits limits;
    limits.timeout = 60ms;
    FrameGrabber grabber(scheduler, limits);
    service.bodies["/garbage"] = QByteArray(50'000, '\x47');
    const QUrl clip = makeClip("whole.mp4", "-pix_fmt yuv420p");
    service.bodies["/evil.m3u8"] =
        "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + clip.toLocalFile().toUtf8() + "\n#EXT-X-ENDLIST\n";
    for (const QUrl& url :
         {service.url("/garbage"), service.url("/missing"), service.url("/vanish"), service.url("/held"),
          service.url("/evil.m3u8"), write("empty.mp4", ""), write("text.mp4", "no video at all"),
          write("cut.mp4", contentOf(clip).left(1000)), QUrl("file:///absent.mp4"), QUrl("concat:a|b"), QUrl()}) {
        const auto [result, image] = grab(grabber, url);
        EXPECT_NE(result, FrameGrabber::success) << url.toString().toStdString();
        EXPECT_TRUE(image.isNull());
    }
    EXPECT_EQ(grab(grabber, service.url("/held")).first, FrameGrabber::timedOut);
    EXPECT_EQ(grab(grabber, QUrl("concat:a|b")).first, FrameGrabber::noSuchScheme);
}

TEST_F(FrameGrabberTest, CancelledGrabsStaySilentAndLetGo) {
    FrameGrabber::Limits limits;
    limits.grabsAtATime = 1;
    limits.timeout = 1h;
    auto grabber = std::make_unique<FrameGrabber>(scheduler, limits);
    const auto never = [](int, const QImage&) { FAIL() << "called after cancel"; };
    const auto held = grabber->grab(service.url("/held"), {}, never);
    runUntil([&] { return service.heldOpen == 1; });
    grabber->cancel(held);
    EXPECT_NE(grab(*grabber, QUrl("file:///absent.mp4")).first, 0) << "the one place is free again";
    grabber->grab(service.url("/held"), {}, never);
    runUntil([&] { return service.heldOpen == 2; });
    grabber.reset();
    QCoreApplication::processEvents();
}

TEST(ImageView, PaintsBackgroundFillCornersAndTint) {
    VirtualUi ui(100, 100);
    ui.window().setColor(Qt::white);
    ImageView view(ui.root());
    view.setSize({80, 40});
    QImage half(40, 80, QImage::Format_ARGB32);
    half.fill(Qt::transparent);
    QPainter(&half).fillRect(0, 0, 20, 80, Qt::red);
    const auto at = [&](int x, int y) { return ui.grab().pixelColor(x, y); };
    EXPECT_EQ(at(40, 20), QColor(Qt::white));
    view.setBackgroundColor(Qt::blue);
    EXPECT_EQ(at(40, 20), QColor(Qt::blue));
    view.setImage(half);
    EXPECT_EQ(at(10, 20), QColor(Qt::red)) << "covers the width, cut above and below";
    EXPECT_EQ(at(70, 20), QColor(Qt::blue));
    view.setContentMode(ImageView::AspectFit);
    EXPECT_EQ(at(10, 20), QColor(Qt::blue)) << "20 points wide in the middle";
    EXPECT_EQ(at(33, 20), QColor(Qt::red));
    view.setTintColor(Qt::green);
    EXPECT_EQ(at(33, 20), QColor(Qt::green));
    view.setCornerRadius(20);
    EXPECT_EQ(at(1, 1), QColor(Qt::white));
    EXPECT_EQ(at(2, 20), QColor(Qt::blue));
    view.setSize({0, 0});
    ui.grab();
}

TEST_F(LoadingTest, ImageViewShowsWhatWasLoadedUnlessCancelled) {
    const auto before = ToolkitContext::shared();
    ToolkitContext::setShared(ToolkitContext::makeDefault());
    {
        ImageView view;
        service.bodies["/a"] = encoded(picture(30, 20), "PNG");
        service.bodies["/b"] = encoded(picture(7, 7), "PNG");
        std::vector<int> widths;
        const auto shown = [&](const QImage& image) { widths.push_back(image.width()); };
        view.setImageWithURL(service.url("/a"), [](const QImage&) { FAIL() << "replaced"; });
        view.setImageWithURL(service.url("/b"), shown);
        runUntil([&] { return widths.size() == 1; });
        EXPECT_EQ(view.image().width(), 7);
        view.setImageWithURL(service.url("/absent"), shown);
        runUntil([&] { return widths.size() == 2; });
        EXPECT_EQ(widths, (std::vector<int>{7, 0}));
        EXPECT_EQ(view.image().width(), 7) << "a failure leaves the picture";
        view.setImageWithURL(service.url("/a"), [](const QImage&) { FAIL() << "cancelled"; });
        view.cancelCurrentImageLoad();
        view.setSource(QUrl("http://127.0.0.1/x.png"));
        EXPECT_TRUE(view.image().isNull());
        view.setImageWithURL(service.url("/a"), [](const QImage&) { FAIL() << "died"; });
    }
    QCoreApplication::processEvents();
    ToolkitContext::setShared(before);
}

}  // namespace
}  // namespace korvane
