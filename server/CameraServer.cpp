#include "korvane/server/CameraServer.h"

#include <chrono>
#include <thread>

#include "korvane/base/UtcTime.h"
#include "korvane/server/AccessToken.h"
#include "korvane/server/Api.h"
#include "korvane/server/DescriptorLimit.h"
#include "korvane/server/HttpListener.h"
#include "korvane/server/Storage.h"

namespace korvane {
namespace {

/// What httplib refuses by itself before it asks the handler.
void explainRefusal(httplib::Response& response) {
    if (!response.body.empty()) return;
    const int status = response.status;
    Api::fail(response, status,
              status == 414   ? "the address is too long"
              : status == 416 ? "the range cannot be read"
                              : "the request cannot be read");
}

ConnectionLimits limitsOf(const CameraServerOptions& options) {
    ConnectionLimits limits;
    limits.threads = options.threads;
    limits.patience = options.patience;
    limits.connections = affordableConnections(options.connections);
    return limits;
}

}  // namespace

struct CameraServer::Running {
    Running(std::unique_ptr<Storage> openStorage, AccessToken openTokens, const CameraServerOptions& options)
        : storage(std::move(openStorage)),
          tokens(std::move(openTokens)),
          now(options.now ? options.now : systemUtcNow),
          api(*storage, tokens, now, options.followLinks),
          listener(limitsOf(options)) {
        listener.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
            api.answer(request, response);
            return httplib::Server::HandlerResponse::Handled;
        });
        listener.set_error_handler(
            [](const httplib::Request&, httplib::Response& response) { explainRefusal(response); });
    }

    ~Running() {
        listener.shutDown();
        if (thread.joinable()) thread.join();
    }

    std::unique_ptr<Storage> storage;
    AccessToken tokens;
    std::function<TimeMs()> now;
    Api api;
    HttpListener listener;
    std::string baseUrl;
    std::thread thread;
};

CameraServer::CameraServer(std::filesystem::path database, CameraServerOptions options)
    : database_(std::move(database)), options_(std::move(options)) {}

CameraServer::~CameraServer() {
    stop();
}

Result<std::uint16_t> CameraServer::start() {
    if (running_) return Error{"the service runs already"};
    auto storage = Storage::open(database_);
    if (!storage) return storage.error();
    auto tokens = AccessToken::forDatabase(database_);
    if (!tokens) return tokens.error();
    try {
        auto running = std::make_unique<Running>(std::move(*storage), std::move(*tokens), options_);
        const int port = running->listener.bind(options_.address, options_.port);
        if (port <= 0)
            return Error{"cannot listen on " + options_.address + " port " + std::to_string(options_.port) +
                         ": the address is not this machine's, or the port is taken"};
        const bool sixth = options_.address.find(':') != std::string::npos;
        running->baseUrl =
            "http://" + (sixth ? "[" + options_.address + "]" : options_.address) + ":" + std::to_string(port);
        running->thread = std::thread([&service = *running] { service.listener.run(); });
        running_ = std::move(running);
        return static_cast<std::uint16_t>(port);
    } catch (const std::exception& error) {
        return Error{std::string("cannot start the service: ") + error.what()};
    }
}

void CameraServer::stop() {
    running_.reset();
}

std::string CameraServer::baseUrl() const {
    return running_ ? running_->baseUrl : std::string();
}

Result<std::string> CameraServer::issueToken(std::int64_t cameraId, std::chrono::seconds lifetime) const {
    if (!running_) return Error{"the service does not run"};
    const auto camera = running_->storage->camera(cameraId);
    if (!camera) return camera.error();
    if (!*camera) return Error{"there is no camera " + std::to_string(cameraId)};
    return running_->tokens.issue(cameraId, running_->now() / 1000 + lifetime.count(), running_->baseUrl);
}

}  // namespace korvane
