// The place in the source that calls: the standard's where the compiler has it (clang 14 has not).
#pragma once

#include <version>

#ifdef __cpp_lib_source_location
#include <source_location>
#else
#include <cstdint>
#endif

namespace kel {

#ifdef __cpp_lib_source_location
using SourceLocation = std::source_location;
#else
/// As much of std::source_location as the error channel needs.
class SourceLocation {
public:
    static constexpr SourceLocation current(std::uint_least32_t line = __builtin_LINE()) noexcept {
        SourceLocation here;
        here.line_ = line;
        return here;
    }
    [[nodiscard]] constexpr std::uint_least32_t line() const noexcept { return line_; }

private:
    std::uint_least32_t line_ = 0;
};
#endif

}  // namespace kel
