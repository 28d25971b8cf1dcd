// The fixture of the conformance suite: the platform of this build over a machine of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Platform.h"
#include "support/ScratchMachine.h"

#ifdef KEL_DRY_RUN
#include "decorators/DryRunPlatform.h"
#include "decorators/ReadOnlyPlatform.h"
#endif

namespace kel::platform {

/// How a failed test shows an error number.
inline void PrintTo(SysError error, std::ostream* out) {
    *out << "error " << Number(error);
}

}  // namespace kel::platform

namespace kel::test {

/// Whether the program runs under Wine, which does a few things otherwise than Windows. Each test that asks says what.
[[nodiscard]] bool UnderWine();

class PlatformTest : public ::testing::Test {
protected:
    [[nodiscard]] const platform::Platform& Machine() const { return view_; }
    /// The machine itself, also where Machine() is a dry run over it: for what must be there for other programs.
    [[nodiscard]] platform::Platform Real() const { return machine_.View(); }
    /// Whether Machine() is a dry run. Each test that asks says what can't be the same there.
    [[nodiscard]] static constexpr bool DryRun() {
#ifdef KEL_DRY_RUN
        return true;
#else
        return false;
#endif
    }
    [[nodiscard]] platform::Files& Files() const {
        return *view_.files;
    }
    [[nodiscard]] platform::Registry& Registry() const {
        return *view_.registry;
    }

    /// Windows 95, 98 and ME.
    [[nodiscard]] bool OnWindows9x() const {
        const auto version = view_.system->Version();
        return version && version.Value().platformId == 1;
    }

    /// A path in the test's own, at first empty folder.
    [[nodiscard]] std::string Path(std::string_view name) const {
        return machine_.Folder() + std::string(name);
    }
    void Write(std::string_view name, std::string_view bytes) {
        WriteFile(view_, Path(name), bytes);
    }
    [[nodiscard]] std::string Read(std::string_view name) {
        return ReadFile(view_, Path(name));
    }
    void Folder(std::string_view name) {
        MakeFolder(view_, Path(name));
    }

    /// Sets attributes in two steps: Wine, run by an ordinary user, sets the others only while the file is writable.
    void SetAttributes(std::string_view name, std::uint32_t attributes) {
        for (const std::uint32_t bits :
             {attributes & ~static_cast<std::uint32_t>(platform::AttributeReadOnly), attributes}) {
            EXPECT_EQ(Files().SetAttributes(Path(name), bits), platform::SysError::Success) << name;
        }
    }

    /// Names of an enumeration in its order; fails the test when it does not end with NoMoreFiles.
    [[nodiscard]] std::vector<std::string> Names(std::string_view pattern) {
        std::vector<std::string> names;
        platform::FindData entry;
        auto find = Files().FindFirst(Path(pattern), entry);
        platform::SysError error = find.Error();
        if (!find) {
            EXPECT_EQ(error, platform::SysError::FileNotFound) << pattern;
            return names;
        }
        while (error == platform::SysError::Success) {
            names.push_back(entry.name);
            error = (*find)->Next(entry);
        }
        EXPECT_EQ(error, platform::SysError::NoMoreFiles) << pattern;
        return names;
    }

    /// A key path below HKEY_CURRENT_USER in the test's own, at first empty key.
    [[nodiscard]] std::string Key(std::string_view name = {}) const {
        return name.empty() ? machine_.Key() : machine_.Key() + "\\" + std::string(name);
    }
    [[nodiscard]] std::unique_ptr<platform::RegistryKey> OpenKey(
        std::string_view name = {}, std::uint32_t access = platform::AccessMaximumAllowed) {
        auto key = Registry().Open(platform::HiveCurrentUser, Key(name), access);
        EXPECT_EQ(key.Error(), platform::SysError::Success) << name;
        return key ? std::move(key).Value() : nullptr;
    }
    void MakeKey(std::string_view name) {
        EXPECT_EQ(Registry().Create(platform::HiveCurrentUser, Key(name)).Error(), platform::SysError::Success) << name;
    }

private:
    ScratchMachine machine_;
#ifdef KEL_DRY_RUN
    // Below it everything that would write fails.
    decorators::ReadOnlyPlatform readOnly_{machine_.View()};
    decorators::DryRunPlatform dryRun_{readOnly_.View(), {}};
    platform::Platform view_ = dryRun_.View();
#else
    platform::Platform view_ = machine_.View();
#endif
};

inline std::span<const std::byte> Bytes(std::string_view text) {
    return std::as_bytes(std::span(text));
}

}  // namespace kel::test
