#include "korvane/views/timeline/Binding/RulerSource.h"

#include <atomic>
#include <string>
#include <utility>

#include "korvane/client/KorvaneCamera.h"
#include "korvane/client/KorvanePlayer.h"
#include "korvane/client/KorvaneService.h"
#include "korvane/client/Status.h"

namespace korvane {

/// Shows what the host says that it shows. The host hears of a seek from the ruler.
class RulerSource::Played final : public KorvanePlayer {
  public:
    Played(std::shared_ptr<KorvaneCamera> camera, TimeMs position) : camera_(std::move(camera)), position_(position) {}

    TimeMs getPosition() const override { return position_; }
    void setPosition(TimeMs position) override { position_ = position; }
    std::shared_ptr<KorvaneCamera> getSource() const override { return camera_; }

  private:
    const std::shared_ptr<KorvaneCamera> camera_;
    std::atomic<TimeMs> position_;
};

RulerSource::RulerSource(Scheduler& scheduler, std::shared_ptr<KorvaneService> service, Found found)
    : service_(std::move(service)),
      found_(std::move(found)),
      scheduler_(scheduler),
      played_(std::make_shared<Played>(nullptr, -1)) {}

RulerSource::~RulerSource() = default;

void RulerSource::leave() {
    link_.reset();
    played_ = std::make_shared<Played>(nullptr, position());
    token_.clear();
    status_ = 0;
}

void RulerSource::setToken(const QString& token) {
    leave();
    token_ = token;
    if (!token.isEmpty() && !service_) status_ = StatusBadCall;
    if (!token.isEmpty() && service_) {
        link_ = std::make_unique<CameraLink>(scheduler_, *service_);
        link_->open(token.toStdString(), [this](const std::shared_ptr<KorvaneCamera>& camera,
                                                const std::string& /*text*/, std::int32_t status) {
            status_ = status;
            played_ = std::make_shared<Played>(camera, position());
            found_(camera ? played_ : nullptr);
        });
    }
    // Last, since it may set another token or end this; what has been shown leaves at once.
    found_(nullptr);
}

TimeMs RulerSource::position() const {
    return played_->getPosition();
}

void RulerSource::setPosition(TimeMs position) {
    played_->setPosition(position);
}

}  // namespace korvane
