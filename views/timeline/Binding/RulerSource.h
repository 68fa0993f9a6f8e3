#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <memory>

#include "korvane/base/Time.h"
#include "korvane/client/CameraLink.h"

namespace korvane {

class KorvanePlayer;
class KorvaneService;

/// What a ruler has when its host gives a token and a position instead of a player: the camera of that token, played by
/// somebody else. Main thread only.
class RulerSource {
  public:
    /// Null within setToken(); then, on a later turn of the main loop, the player, or null without a camera. It may
    /// set another token and destroy the source.
    using Found = std::function<void(const std::shared_ptr<KorvanePlayer>& player)>;

    /// Without a service no token is good.
    RulerSource(Scheduler& scheduler, std::shared_ptr<KorvaneService> service, Found found);
    ~RulerSource();

    RulerSource(const RulerSource&) = delete;
    RulerSource& operator=(const RulerSource&) = delete;

    /// Empty for none.
    void setToken(const QString& token);
    const QString& token() const { return token_; }
    /// A Status, 0 until it is known.
    std::int32_t status() const { return status_; }
    /// Another player or camera has taken its place.
    void leave();

    /// ms, -1 for nothing. It lasts from one token to the next.
    TimeMs position() const;
    void setPosition(TimeMs position);

  private:
    class Played;

    const std::shared_ptr<KorvaneService> service_;
    const Found found_;
    Scheduler& scheduler_;
    std::shared_ptr<Played> played_;
    std::unique_ptr<CameraLink> link_;  // only while there is a token
    QString token_;
    std::int32_t status_ = 0;
};

}  // namespace korvane
