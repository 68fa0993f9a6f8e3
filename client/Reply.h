#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string_view>

namespace korvane {

/// What the service answered. Keys keep their order; a null value stands for "no reply".
using Reply = nlohmann::ordered_json;

/// Receives the reply, or an error text (or null) with a status other than 0. Runs exactly once, on a thread of the
/// client library: never on the caller's stack, and not on the main thread.
using ReplyCompletion = std::function<void(Reply reply, std::int32_t status)>;

/// Takes a value apart. The destructor of one that has elements asks for memory instead, and where there is none that
/// ends the process. Any thread.
void release(Reply& value) noexcept;

/// True when two keys are the same but for the case of ASCII letters.
bool equalKeys(std::string_view a, std::string_view b);

/// Calls visit(key, value) for each member of `object` in order; does nothing when it is not an object.
void forEachMember(const Reply& object, const std::function<void(std::string_view key, const Reply& value)>& visit);

/// The member of exactly that name, or null when there is none or `object` is not an object.
const Reply* findMember(const Reply& object, std::string_view key);

/// The first member of that name in any case, or null.
const Reply* findMemberAnyCase(const Reply& object, std::string_view key);

}  // namespace korvane
