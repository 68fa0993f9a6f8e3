#include <gtest/gtest.h>

#include <QBuffer>
#include <QEventLoop>
#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "korvane/base/Log.h"
#include "korvane/tests/support/qt/EventTurns.h"
#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/toolkit/FrameGrabber.h"
#include "korvane/toolkit/ImageCache.h"
#include "korvane/toolkit/ImageLoader.h"
#include "korvane/toolkit/ImageView.h"
#include "korvane/toolkit/QtScheduler.h"

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
    EXPECT_EQ(cache.memoryCost(), 3 * one);
    cache.storeImageToMemory({}, "a");
    EXPECT_FALSE(cache.imageFromMemoryCacheForKey("a").isNull()) << "an empty image stores nothing";
    cache.storeImageToMemory(picture(5, 10), "a");
    EXPECT_EQ(cache.memoryCost(), 2 * one + one / 2);
    cache.storeImageToMemory(picture(100, 100), "huge");
    EXPECT_FALSE(cache.imageFromMemoryCacheForKey("c").isNull()) << "it drove nothing else out";
    EXPECT_LE(cache.imageFromMemoryCacheForKey("c").sizeInBytes(), one * 4 / 5) << "opaque ones are packed";
    cache.setMaxMemoryCost(one);
    EXPECT_LE(cache.memoryCost(), one);
}

TEST(ImageCache, EmptiesItsDiskLevel) {
    QTemporaryDir folder;
    VirtualScheduler scheduler;
    ImageCache cache(scheduler, folder.filePath("level"));
    const QString key = "../cam/1_2";
    EXPECT_TRUE(cache.storeImageToDisk(picture(4, 4), key));
    EXPECT_EQ(QDir(folder.filePath("level")).entryList(QDir::Files).size(), 1);
    bool isDone = false;
    cache.clearDiskOnCompletion([&] { isDone = true; });
    scheduler.runUntilIdle();
    EXPECT_TRUE(isDone && cache.imageFromDiskCacheForKey(key).isNull());
}

/// Answers by path, /held... only when told to. Each connection serves one request.
class Service : public QObject {
  public:
    Service() {
        server.listen(QHostAddress::LocalHost);
        for (QTcpServer* each : {&server, static_cast<QTcpServer*>(&secured)})
            connect(each, &QTcpServer::pendingConnectionAvailable, this, [this, each] {
                QTcpSocket* socket = each->nextPendingConnection();
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { answer(*socket); });
            });
    }

    /// With a certificate that nobody has signed but itself.
    QUrl securedUrl(const QString& path) {
        const QTemporaryDir folder;
        const QString key = folder.filePath("key.pem");
        const QString certificate = folder.filePath("certificate.pem");
        const QString command =
            "openssl req -x509 -newkey rsa:2048 -nodes -days 1 -subj /CN=127.0.0.1 -addext "
            "subjectAltName=IP:127.0.0.1 -keyout %1 -out %2 2>/dev/null";
        EXPECT_EQ(std::system(command.arg(key, certificate).toLatin1().constData()), 0);
        QFile keyFile(key);
        EXPECT_TRUE(keyFile.open(QIODevice::ReadOnly));
        QSslConfiguration configuration;
        configuration.setPrivateKey(QSslKey(&keyFile, QSsl::Rsa));
        configuration.setLocalCertificate(QSslCertificate::fromPath(certificate).value(0));
        secured.setSslConfiguration(configuration);
        EXPECT_TRUE(secured.listen(QHostAddress::LocalHost));
        return QUrl(QStringLiteral("https://127.0.0.1:%1%2").arg(secured.serverPort()).arg(path));
    }

    QUrl url(const QString& path) const {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(server.serverPort()).arg(path));
    }

    std::map<QString, QByteArray> bodies;
    std::map<QString, QByteArray> redirections;
    std::vector<QString> asked;
    std::vector<QTcpSocket*> held;

    void answer(QTcpSocket& socket) {
        const QString path = QString::fromLatin1(socket.readAll().split(' ').value(1));
        asked.push_back(path);
        if (path == "/vanish") return socket.abort();
        if (path.startsWith("/held")) return held.push_back(&socket);
        send(socket, path);
    }

    void send(QTcpSocket& socket, const QString& path) {
        if (const auto moved = redirections.find(path); moved != redirections.end()) {
            socket.write("HTTP/1.1 302 Found\r\nConnection: close\r\nContent-Length: 0\r\nLocation: " + moved->second +
                         "\r\n\r\n");
            return socket.disconnectFromHost();
        }
        const auto found = bodies.find(path);
        const QByteArray body = found == bodies.end() ? QByteArray("no") : found->second;
        const qsizetype announced = path == "/cut" ? body.size() * 2 : body.size();
        socket.write(found == bodies.end() ? "HTTP/1.1 404 Not Found\r\n" : "HTTP/1.1 200 OK\r\n");
        socket.write("Connection: close\r\nContent-Length: " + QByteArray::number(announced) + "\r\n\r\n" + body);
        socket.disconnectFromHost();
    }

    QTcpServer server;
    QSslServer secured;
};

class LoadingTest : public testing::Test {
  protected:
    using Outcome = std::pair<QImage, QString>;

    void runUntil(const std::function<bool()>& done) { ASSERT_TRUE(turnUntil(scheduler, done)); }

    Outcome load(ImageLoader& loader, const QUrl& url, QSize bound = {}) {
        std::optional<Outcome> outcome;
        loader.load(url, bound, [&](const QImage& image, const QString& error) { outcome = {image, error}; });
        EXPECT_FALSE(outcome) << "never within the call";
        runUntil([&] { return outcome.has_value(); });
        return outcome.value_or(Outcome());
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

TEST_F(LoadingTest, BadRepliesGiveAReasonWithoutTheUrl) {
    ImageLoader loader(scheduler, {.maxBytes = 20'000, .idleTimeout = 40ms});
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

TEST_F(LoadingTest, RepliesOnTheirWayHaveOneLimit) {
    ImageLoader loader(scheduler, {.maxBytes = 90'000, .maxBytesOfAll = 100'000});
    QStringList errors;
    for (const char* path : {"/held/1", "/held/2"})
        loader.load(service.url(path), {}, [&](const QImage&, const QString& error) { errors << error; });
    runUntil([&] { return service.held.size() == 2; });
    for (const int i : {0, 1})
        service.held[static_cast<std::size_t>(i)]->write("HTTP/1.1 200 OK\r\nContent-Length: 90000\r\n\r\n" +
                                                         QByteArray(60'000 + i, 'x'));
    runUntil([&] { return !errors.empty(); });
    service.held[0]->write(QByteArray(30'000, 'x'));
    runUntil([&] { return errors.size() == 2; });
    EXPECT_EQ(errors, QStringList({"too large beside others", "no whole picture of a known kind"}));
}

TEST_F(LoadingTest, OtherKindsOfPicturesAreRefusedWhateverTheyAreCalled) {
    std::string lines;
    const LogSink before = setLogSink([&](std::string_view line) { lines += std::string(line) + '\n'; });
    ImageLoader loader(scheduler);
    service.bodies["/a.jpg?token=secret"] =
        "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><image href='file:///etc/hostname'/></svg>";
    EXPECT_TRUE(load(loader, service.url("/a.jpg").resolved(QUrl("?token=secret"))).first.isNull());
    EXPECT_EQ(lines, "ImageLoader: load: no whole picture of a known kind\n");
    for (const QByteArray& bytes :
         {encoded(picture(4, 4), "BMP"), encoded(picture(4, 4), "PPM"), encoded(picture(4, 4), "XPM"),
          QByteArray::fromHex("47494638396101000100800000ffffff0000002c00000000010001000002024401003b")}) {
        ASSERT_FALSE(QImage::fromData(bytes).isNull()) << "a picture that Qt would show";
        EXPECT_TRUE(load(loader, write("picture.jpg", bytes)).first.isNull());
    }
    EXPECT_EQ(load(loader, write("jpeg.png", encoded(picture(4, 4), "JPG"))).first.width(), 4);
    setLogSink(before);
}

TEST_F(LoadingTest, RedirectionsLeadToTheWebAloneAndToNothingLessSafe) {
    ImageLoader loader(scheduler);
    const QByteArray bytes = encoded(picture(4, 4), "PNG");
    const QUrl secured = service.securedUrl("/down");
    const QSslConfiguration trusted = QSslConfiguration::defaultConfiguration();
    QSslConfiguration trusting = trusted;
    trusting.addCaCertificate(service.secured.sslConfiguration().localCertificate());
    QSslConfiguration::setDefaultConfiguration(trusting);
    service.bodies["/picture"] = bytes;
    service.redirections = {{"/down", service.url("/picture").toEncoded()},
                            {"/up", secured.resolved(QUrl("/picture")).toEncoded()},
                            {"/along", "/picture"},
                            {"/loop", "/loop"},
                            {"/file", write("here.png", bytes).toEncoded()},
                            {"/data", "data:image/png;base64," + bytes.toBase64()},
                            {"/qrc", "qrc:/picture"},
                            {"/ftp", "ftp://127.0.0.1/picture"}};
    for (const char* path : {"/along", "/up"}) EXPECT_FALSE(load(loader, service.url(path)).first.isNull()) << path;
    EXPECT_FALSE(load(loader, secured.resolved(QUrl("/along"))).first.isNull());
    service.asked.clear();
    EXPECT_TRUE(load(loader, secured).first.isNull());
    EXPECT_EQ(std::count(service.asked.begin(), service.asked.end(), "/picture"), 0) << "readable on its way";
    QSslConfiguration::setDefaultConfiguration(trusted);
    for (const char* path : {"/file", "/data", "/qrc", "/ftp"})
        EXPECT_TRUE(load(loader, service.url(path)).first.isNull()) << path;
    service.asked.clear();
    EXPECT_TRUE(load(loader, service.url("/loop")).first.isNull());
    EXPECT_LT(service.asked.size(), 20U);
}

TEST_F(LoadingTest, NewestGoesFirst) {
    ImageLoader loader(scheduler, {.loadsAtATime = 1});
    int left = 3;
    for (const char* path : {"/first", "/old", "/new"}) {
        service.bodies[path] = encoded(picture(4, 4), "PNG");
        loader.load(service.url(path), {}, [&](const QImage&, const QString&) { --left; });
    }
    runUntil([&] { return left == 0; });
    EXPECT_EQ(service.asked, (std::vector<QString>{"/first", "/new", "/old"}));
}

TEST_F(LoadingTest, CancelledLoadsEndIfTheyHaveBegunAndStaySilent) {
    auto loader = std::make_unique<ImageLoader>(scheduler, ImageLoader::Limits{.loadsAtATime = 1});
    const auto never = [](const QImage&, const QString&) { FAIL() << "called after cancel"; };
    int arrived = 0;
    const auto keep = [&](const QImage& image, const QString&) { arrived += image.width(); };
    for (const char* path : {"/held", "/b"}) service.bodies[path] = encoded(picture(4, 4), "PNG");
    const auto begun = loader->load(service.url("/held"), {}, never, keep);
    runUntil([&] { return service.held.size() == 1; });
    const auto waiting = loader->load(service.url("/waiting"), {}, never, never);
    loader->cancel(waiting);
    loader->cancel(begun);
    Service other;
    other.bodies["/b"] = service.bodies["/b"];
    EXPECT_FALSE(load(*loader, other.url("/b")).first.isNull()) << "one host does not hold another up";
    bool isThere = false;
    loader->load(
        service.url("/held"), {}, [&](const QImage&, const QString&) { isThere = true; }, keep);
    service.send(*service.held[0], "/held");
    runUntil([&] { return isThere; });
    EXPECT_EQ(arrived, 8);
    EXPECT_EQ(service.asked, (std::vector<QString>{"/held"}));

    loader->load(service.url("/held"), {}, never, never);
    loader->load(other.url("/b"), {}, [&](const QImage&, const QString&) { loader.reset(); });
    loader->load(other.url("/b"), {}, never);
    runUntil([&] { return !loader; });
    QCoreApplication::processEvents();
}

class FrameGrabberTest : public LoadingTest {
  protected:
    using Frame = std::pair<int, QImage>;

    Frame grab(FrameGrabber& grabber, const QUrl& url, QSize bound = {}) {
        std::optional<Frame> frame;
        grabber.grab(url, bound, [&](int result, const QImage& image) { frame = {result, image}; });
        runUntil([&] { return frame.has_value(); });
        return frame.value_or(Frame());
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

TEST_F(FrameGrabberTest, BadVideosGiveACode) {
    FrameGrabber grabber(scheduler, {.timeout = 60ms});
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

TEST_F(FrameGrabberTest, TellsItsAddressToNoServiceThatIsNotTrustedAndToNoProxy) {
    FrameGrabber grabber(scheduler, {.timeout = 2s});
    service.bodies["/clip.mp4"] = contentOf(makeClip("clip.mp4", "-movflags +faststart -pix_fmt yuv420p"));
    qputenv("http_proxy", service.url("").toEncoded());
    for (const QUrl& url : {service.securedUrl("/clip.mp4"), QUrl("http://camera.invalid/clip.mp4")}) {
        EXPECT_NE(grab(grabber, url).first, FrameGrabber::success);
        EXPECT_TRUE(service.asked.empty()) << url.toString().toStdString();
    }
    EXPECT_EQ(grab(grabber, service.url("/clip.mp4")).first, FrameGrabber::success);
    qunsetenv("http_proxy");
}

TEST_F(FrameGrabberTest, CancelledGrabsStaySilentAndAreBrokenOffAtTheEnd) {
    auto grabber = std::make_unique<FrameGrabber>(scheduler, FrameGrabber::Limits{.grabsAtATime = 1, .timeout = 1h});
    const auto never = [](int, const QImage&) { FAIL() << "called after cancel"; };
    const auto held = grabber->grab(service.url("/held"), {}, never);
    runUntil([&] { return service.held.size() == 1; });
    grabber->cancel(held);
    grabber->grab(service.url("/held"), {}, never);
    grabber.reset();
    QCoreApplication::processEvents();
}

TEST(ImageView, RoundsItsCorners) {
    VirtualUi ui(100, 100);
    ui.window().setColor(Qt::white);
    ImageView view(ui.root());
    view.setSize({80, 40});
    view.setImage(picture(80, 40));
    view.setCornerRadius(10);
    const QImage image = ui.grab();
    EXPECT_EQ(image.pixelColor(0, 0), QColor(Qt::white));
    EXPECT_EQ(image.pixelColor(40, 20), QColor(Qt::red));
}

}  // namespace
}  // namespace korvane
