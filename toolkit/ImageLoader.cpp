#include "korvane/toolkit/ImageLoader.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMetaEnum>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <utility>

#include "korvane/base/LifeToken.h"
#include "korvane/base/Log.h"
#include "korvane/toolkit/LoadQueue.h"
#include "korvane/toolkit/Mailbox.h"
#include "korvane/toolkit/PictureDecoder.h"

namespace korvane {
namespace {

using Queue = LoadQueue<QImage, QString>;

constexpr int mostRedirects = 5;
constexpr int mostConnections = 6;  // that QNetworkAccessManager opens to a host
constexpr qint64 readAhead = 256 * 1024;
using Report = std::function<void(Queue::Id id, const QImage& image, const QString& error)>;

QString pathOf(const QUrl& url) {
    return url.scheme() == QLatin1String("qrc") ? QLatin1Char(':') + url.path() : url.toLocalFile();
}

/// Lives on the loader's thread.
class Worker final : public Mailbox {
  public:
    Worker(ImageLoader::Limits limits, Report report) : limits_(limits), report_(std::move(report)) {}

    void start(Queue::Id id, const Queue::Request& request) {
        const QString scheme = request.url.scheme();
        if (scheme == QLatin1String("file") || scheme == QLatin1String("qrc")) {
            readFile(id, request);
        } else if (scheme == QLatin1String("http") || scheme == QLatin1String("https")) {
            download(id, request);
        } else {
            report_(id, {}, QStringLiteral("no such scheme"));
        }
    }

    void prepare(const QUrl& url) {
        if (url.scheme() == QLatin1String("https")) {
            network().connectToHostEncrypted(url.host(), static_cast<quint16>(url.port(443)));
        } else if (url.scheme() == QLatin1String("http")) {
            network().connectToHost(url.host(), static_cast<quint16>(url.port(80)));
        }
    }

  private:
    QNetworkAccessManager& network() {
        if (!network_) network_ = std::make_unique<QNetworkAccessManager>();
        return *network_;
    }

    void readFile(Queue::Id id, const Queue::Request& request) {
        QFile file(pathOf(request.url));
        if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
            report_(id, {}, QStringLiteral("no such file"));
        } else if (file.size() > limits_.maxBytes) {
            report_(id, {}, QStringLiteral("too large"));
        } else {
            decode(id, request, file.readAll());
        }
    }

    void download(Queue::Id id, const Queue::Request& request) {
        QNetworkRequest wanted(request.url);
        wanted.setAttribute(QNetworkRequest::HttpPipeliningAllowedAttribute, true);
        // The second version of the protocol reads ahead as far as the service likes.
        wanted.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
        // No picture gets smaller by it.
        wanted.setRawHeader("Accept-Encoding", "identity");
        wanted.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
        wanted.setMaximumRedirectsAllowed(mostRedirects);
        wanted.setTransferTimeout(static_cast<int>(limits_.idleTimeout.count()));
        QNetworkReply* reply = network().get(wanted);
        // Without it what the service sends piles up in front of this thread.
        reply->setReadBufferSize(readAhead);
        bodies_.insert(reply, {});
        connect(reply, &QNetworkReply::readyRead, this, [this, reply] { take(reply); });
        auto* const timer = new QTimer(reply);  // QTimer::singleShot() would outlast the reply
        timer->setSingleShot(true);
        connect(timer, &QTimer::timeout, reply, [reply] { giveUp(reply, QStringLiteral("timed out")); });
        timer->start(limits_.totalTimeout);
        connect(reply, &QNetworkReply::finished, this, [this, id, request, reply] { downloaded(id, request, reply); });
    }

    void take(QNetworkReply* reply) {
        QByteArray& body = bodies_[reply];
        const qsizetype before = body.size();
        if (reply->isOpen()) body += reply->readAll();
        bytesHeld_ += body.size() - before;
        if (body.size() > limits_.maxBytes) return giveUp(reply, QStringLiteral("too large"));
        if (bytesHeld_ <= limits_.maxBytesOfAll) return;
        const auto isShorter = [](const QByteArray& a, const QByteArray& b) { return a.size() < b.size(); };
        giveUp(std::max_element(bodies_.begin(), bodies_.end(), isShorter).key(),
               QStringLiteral("too large beside others"));
    }

    static void giveUp(QNetworkReply* reply, const QString& why) {
        reply->setProperty("why", why);
        reply->abort();
    }

    void downloaded(Queue::Id id, const Queue::Request& request, QNetworkReply* reply) {
        reply->deleteLater();
        QByteArray body = bodies_.take(reply);
        bytesHeld_ -= body.size();
        if (reply->isOpen()) body += reply->readAll();
        QString why = reply->property("why").toString();
        // The reply's own text quotes the URL.
        if (why.isEmpty() && reply->error() != QNetworkReply::NoError)
            why = QString::fromLatin1(QMetaEnum::fromType<QNetworkReply::NetworkError>().valueToKey(reply->error()));
        if (why.isEmpty() && body.size() > limits_.maxBytes) why = QStringLiteral("too large");
        if (why.isEmpty()) return decode(id, request, body);
        report_(id, {}, why);
    }

    void decode(Queue::Id id, const Queue::Request& request, const QByteArray& bytes) {
        const PictureDecoder::Picture picture = decoder_.decode(bytes, request.bound);
        if (!picture.fault.isEmpty()) logError("ImageLoader", "load: " + picture.fault.toStdString());
        report_(id, picture.image, picture.fault);
    }

    const ImageLoader::Limits limits_;
    const PictureDecoder decoder_;
    const Report report_;
    std::unique_ptr<QNetworkAccessManager> network_;
    QHash<QNetworkReply*, QByteArray> bodies_;  // so far
    qint64 bytesHeld_ = 0;                      // in all of them
};

}  // namespace

class ImageLoader::Engine {
  public:
    Engine(Scheduler& scheduler, const Limits& limits)
        : queue_(limits.loadsAtATime, [this](Queue::Id id, const Queue::Request& request) { start(id, request); }) {
        auto finish = life_.guard(
            [this](Queue::Id id, const QImage& image, const QString& error) { queue_.finish(id, image, error); });
        worker_ = new Worker(limits, [&scheduler, finish](Queue::Id id, const QImage& image, const QString& error) {
            scheduler.post([finish, id, image, error]() mutable { finish(id, image, error); });
        });
        thread_.setObjectName(QStringLiteral("korvane-images"));
        worker_->moveToThread(&thread_);
        QObject::connect(&thread_, &QThread::finished, worker_, &QObject::deleteLater);
        thread_.start();
    }

    ~Engine() {
        thread_.quit();
        thread_.wait();
    }

    Queue& queue() { return queue_; }

    void prepare(const QUrl& url) {
        if (connections_[url.authority()] >= mostConnections) return;
        ++connections_[url.authority()];
        worker_->post([worker = worker_, url] { worker->prepare(url); });
    }

  private:
    void start(Queue::Id id, const Queue::Request& request) {
        worker_->post([worker = worker_, id, request] { worker->start(id, request); });
    }

    QHash<QString, int> connections_;  // that were opened ahead, by host
    Queue queue_;
    QThread thread_;
    Worker* worker_ = nullptr;  // deleted on its thread
    LifeToken life_;
};

ImageLoader::ImageLoader(Scheduler& scheduler, Limits limits) : engine_(std::make_unique<Engine>(scheduler, limits)) {}

ImageLoader::ImageLoader(Scheduler& scheduler) : ImageLoader(scheduler, Limits()) {}

ImageLoader::~ImageLoader() = default;

void ImageLoader::prepare(const QUrl& url) {
    engine_->prepare(url);
}

ImageLoader::Handle ImageLoader::load(const QUrl& url, QSize bound, Completed completed, Completed arrived) {
    return engine_->queue().add({url, bound}, std::move(completed), std::move(arrived));
}

void ImageLoader::cancel(Handle handle) {
    engine_->queue().cancel(handle);
}

}  // namespace korvane
