// Input lines that could not be taken.
#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace kel::kelsdb {

/// Reports each of them with the input's name, its number and the reason, and counts them.
class Rejections {
public:
    Rejections(std::ostream& to, std::string input) : to_(to), input_(std::move(input)) {}

    void Add(std::size_t line, std::string_view reason) {
        to_ << input_ << ':' << line << ": " << reason << '\n';
        ++count_;
    }
    [[nodiscard]] std::size_t Count() const { return count_; }

private:
    std::ostream& to_;
    std::string input_;
    std::size_t count_ = 0;
};

}  // namespace kel::kelsdb
