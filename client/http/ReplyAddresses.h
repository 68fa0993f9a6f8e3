#pragma once

#include <cstddef>

#include "korvane/client/Reply.h"

namespace korvane {

/// Puts null in place of each address in a service's reply that is no whole http or https one: such an address could
/// name a file of this machine. An address is what lies at any depth under a key that ends in "url", in any case. Gives
/// how many were replaced, without the empty ones. Any thread.
std::size_t dropForeignAddresses(Reply& reply);

}  // namespace korvane
