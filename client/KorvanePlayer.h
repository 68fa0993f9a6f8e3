#pragma once

#include <memory>

#include "korvane/base/Time.h"

namespace korvane {

class KorvaneCamera;

/// The host's player, as far as the widgets need it. Functions may be called from any thread.
class KorvanePlayer {
  public:
    virtual ~KorvanePlayer() = default;

    /// The moment that is on screen, ms; -1 for none.
    virtual TimeMs getPosition() const = 0;

    /// Seeks to a moment, ms.
    virtual void setPosition(TimeMs position) = 0;

    /// The camera that it plays, or null.
    virtual std::shared_ptr<KorvaneCamera> getSource() const = 0;
};

}  // namespace korvane
