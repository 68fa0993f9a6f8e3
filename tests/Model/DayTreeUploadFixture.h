#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "tests/Model/DayTreeFixture.h"

namespace korvane::test {

/// A strip that shows some cells, and counts how often it is asked for them and told to redraw.
class StripDelegate final : public ScrubberDataProviderDelegate {
  public:
    void OnScrubberDataProviderReloadRequired(std::int32_t, std::int32_t) override {
        if (onReload) onReload();
    }
    void OnScrubberDataProviderReloadIndexRequired(std::int64_t, std::int32_t, std::int64_t, std::int32_t,
                                                   std::int32_t) override {}
    std::vector<std::int64_t> OnScrubberDataProviderGetVisibleIndexes() override {
        if (onAsked) onAsked();
        return visible;
    }
    void OnScrubberDataProviderReloadVisible() override { calls.push_back("redraw"); }

    std::vector<std::int64_t> visible;
    Calls calls;
    std::function<void()> onReload;
    std::function<void()> onAsked;
};

}  // namespace korvane::test
