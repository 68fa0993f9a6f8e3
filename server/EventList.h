#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

#include "korvane/server/Storage.h"

namespace korvane {

/// Reads a list [{"time":"2026-03-09T07:05:01Z","name":"doorbell"},...] element by element, without a tree of it.
/// `reasons` gets one text for each bad element, or one for the whole. Events have no thumbnail; none come when
/// cancelled.
std::vector<NewEvent> readEventList(std::string_view json, std::vector<std::string>& reasons,
                                    const std::atomic<bool>* cancel = nullptr);

}  // namespace korvane
