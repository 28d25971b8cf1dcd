// A hive that is written again and again, killed at every single change of the disk.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "DiskFixture.h"
#include "KillSwitch.h"

namespace kel::test {
namespace {

namespace fs = std::filesystem;
using offline::HiveFile;
using offline::KeyId;

// Keys whose values lie on several pages; each state has its own text in all of them.
constexpr int Keys = 12;
constexpr std::size_t Units = 600;
constexpr char16_t States = 6;

std::u16string KeyName(int number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

void WriteState(HiveFile& hive, char16_t state) {
    for (int number = 0; number < Keys; ++number) {
        const auto key = hive.CreateKey(hive.Root(), KeyName(number));
        hive.SetValue(key.ValueOr(offline::NoKey), u"v", 1,
                      WideText(std::u16string(Units, static_cast<char16_t>(u'0' + state))));
    }
}

std::string Chars(const std::vector<std::byte>& bytes) {
    std::string text;
    for (const std::byte byte : bytes) {
        text += static_cast<char>(byte);
    }
    return text;
}

// The state that all of the hive is in; none when it is damaged or of several.
std::optional<int> StateOf(const fs::path& path) {
    const auto hive = HiveFile::Open(path);
    std::set<std::string> texts;
    for (int number = 0; number < Keys; ++number) {
        const KeyId key = hive->FindKey(hive->Root(), KeyName(number));
        const auto value = hive->FindValue(key, u"v");
        if (!value) {
            return std::nullopt;
        }
        texts.insert(Chars(value->data));
    }
    if (texts.size() != 1 || hive->Damage().Count() != 0 || hive->Replay().dirty) {
        return std::nullopt;
    }
    const int state = texts.begin()->front() - '0';
    const std::u16string expected(Units, static_cast<char16_t>(u'0' + state));
    return *texts.begin() == Chars(WideText(expected)) ? std::optional(state) : std::nullopt;
}

class CutReplacement : public DiskFixture {};

TEST_F(CutReplacement, AHiveThatIsWrittenAgainAndAgainIsAlwaysWholeInOneOfItsStates) {
    std::set<int> seen;
    for (std::uint64_t step = 1;; ++step) {
        const fs::path path = Hive("SOFTWARE", {});
        {
            const auto hive = HiveFile::Open(path);
            WriteState(*hive, 0);
            ASSERT_EQ(hive->Commit(), platform::SysError::Success);
        }
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            const auto hive = HiveFile::Open(path);
            killSwitch::Arm(step);
            for (char16_t state = 1; state < States; ++state) {
                WriteState(*hive, state);
                if (hive->Commit() != platform::SysError::Success) {
                    ::_exit(1);
                }
            }
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status));
        const auto state = StateOf(path);
        ASSERT_TRUE(state.has_value()) << "step " << step;
        seen.insert(*state);
        std::size_t beside = 0;
        for (const auto& entry : fs::directory_iterator(Disk())) {
            const std::string name = entry.path().filename().string();
            if (name.starts_with(".SOFTWARE.new-")) {
                ++beside;
                fs::remove(entry.path());
            }
        }
        ASSERT_LE(beside, 1U) << "step " << step;
        if (WEXITSTATUS(status) == 0) {
            break;
        }
        ASSERT_EQ(WEXITSTATUS(status), killSwitch::Killed) << "step " << step;
    }
    EXPECT_EQ(seen.size(), States);
}

}  // namespace
}  // namespace kel::test
