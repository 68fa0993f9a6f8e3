#pragma once

#include <memory>

#include "korvane/server/DataPlace.h"
#include "korvane/server/Database.h"

namespace korvane {

/// The tables of the data base, and what tells a data base of ours from one that only looks like it.
class Schema {
  public:
    /// Opens the data base at `place`, made when there is none and brought up to date when it is older. Refuses, with
    /// an exception, one whose schema differs from ours by as much as a trigger.
    static std::unique_ptr<Database> open(const DataPlace& place);
};

}  // namespace korvane
