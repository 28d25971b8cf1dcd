// A variable of the test's own environment.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace kel::test {

/// Sets a variable for its lifetime, or takes it away, and brings back what it was.
class EnvironmentVariable {
public:
    /// @param value null takes the variable away
    EnvironmentVariable(std::string name, const char* value) : name_(std::move(name)) {
        if (const char* const before = std::getenv(name_.c_str())) {
            before_ = before;
        }
        Set(value);
    }
    ~EnvironmentVariable() { Set(before_ ? before_->c_str() : nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    void Set(const char* value) const {
#ifdef _WIN32
        _putenv((name_ + "=" + (value != nullptr ? value : "")).c_str());
#else
        if (value != nullptr) {
            setenv(name_.c_str(), value, 1);
        } else {
            unsetenv(name_.c_str());
        }
#endif
    }

    std::string name_;
    std::optional<std::string> before_;
};

}  // namespace kel::test
