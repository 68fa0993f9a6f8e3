#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/// Builds "/path?a=1&b=x%20y".
class HttpQuery {
  public:
    explicit HttpQuery(std::string path);

    HttpQuery& add(std::string_view name, std::int64_t value);
    HttpQuery& add(std::string_view name, const std::string& value);
    /// The values with commas between them.
    HttpQuery& add(std::string_view name, const std::vector<std::string>& values);

    const std::string& text() const { return text_; }

  private:
    void begin(std::string_view name);

    std::string text_;
    bool hasQuery_ = false;
};

}  // namespace korvane
