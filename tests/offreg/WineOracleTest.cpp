// Beside Wine itself: it reads what was written here, and writes the same.
#include <gtest/gtest.h>

#include <clocale>
#include <cwctype>
#include <random>

#include "Scratch.h"
#include "WinePrefix.h"
#include "hive/Upcase.h"
#include "offline/WineRegistryFile.h"
#include "offline/Wtf8.h"

namespace kel::offline {
namespace {

using platform::SysError;
using test::KeyAt;

// The sections of a key and all below it, in the order of the text.
std::string SectionsBelow(std::string_view text, std::string_view head) {
    std::string out;
    bool inside = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1);
        const std::string_view line = text.substr(0, end + 1);
        text.remove_prefix(end + 1);
        if (line.starts_with("[")) {
            inside = line.starts_with(head);
        }
        if (inside) {
            out += line;
        }
    }
    return out;
}

class RandomTree {
public:
    explicit RandomTree(unsigned seed) : random_(seed) {}

    void Grow(WineRegistryFile& file, KeyId root, int edits) {
        std::vector<KeyId> keys{root};
        for (int edit = 0; edit < edits; ++edit) {
            const KeyId key = keys[Below(keys.size())];
            if (Below(4) == 0) {
                const auto made = file.CreateKey(key, Name(1 + Below(12)));
                if (made && std::find(keys.begin(), keys.end(), *made) == keys.end()) {
                    keys.push_back(*made);
                }
            } else {
                EXPECT_EQ(file.SetValue(key, Name(Below(20)), Type(), Data()), SysError::Success);
            }
        }
    }

private:
    std::size_t Below(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random_); }

    std::u16string Name(std::size_t length) {
        static constexpr std::u16string_view Units =
            u"abcxyzABCXYZ0123456789 "
            u"_-^`~[]{}()!#$%&'+,.;=@"
            u"\"\t\n\x01\x1F\x7F\xD800\xDC00\x00E9\x00C9\x00DF\x03A9\x03C9\x042F\x044F\x20AC\xFF21";
        std::u16string name;
        for (std::size_t index = 0; index < length; ++index) {
            name.push_back(Units[Below(Units.size())]);
        }
        return name;
    }
    std::uint32_t Type() {
        static constexpr std::uint32_t Types[] = {0, 1, 1, 1, 2, 3, 4, 4, 5, 7, 8, 11, 12, 0xFFFF0012};
        return Types[Below(std::size(Types))];
    }
    std::vector<std::byte> Data() {
        switch (Below(4)) {
            case 0: {
                std::vector<std::byte> bytes(Below(200));
                for (std::byte& byte : bytes) {
                    byte = static_cast<std::byte>(Below(256));
                }
                return bytes;
            }
            case 1:
                return std::vector<std::byte>(4, static_cast<std::byte>(Below(256)));
            default: {
                std::u16string text = Name(Below(60));
                text.append(Below(3), u'\0');
                text += Name(Below(3));
                text.append(Below(3), u'\0');
                return BytesFromUnits(text);
            }
        }
    }

    std::mt19937 random_;
};

// A letter with two cases that the table of NTFS does not know: Wine's own table has those of a newer Unicode.
bool OnlyUnicodeFolds(char16_t unit) {
    static const locale_t unicode = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    const auto letter = static_cast<std::wint_t>(unit);
    const std::wint_t upper = ::towupper_l(letter, unicode);
    const std::wint_t lower = ::towlower_l(letter, unicode);
    const auto folded = [](std::wint_t other) { return other > 0xFFFF ? 0 : Upcase(static_cast<char16_t>(other)); };
    return folded(upper) != Upcase(unit) || folded(lower) != Upcase(unit);
}

class WineOracle : public ::testing::Test {
protected:
    void SetUp() override {
        prefix_ = test::WinePrefix::Make();
        if (prefix_ == nullptr) {
            GTEST_SKIP() << "Wine is not installed";
        }
        // The first start writes what every start writes.
        (void)prefix_->Run("reg query HKLM\\\\Software\\\\Wine");
        prefix_->Stop();
    }

    [[nodiscard]] std::filesystem::path Path() const { return prefix_->Folder() / "system.reg"; }
    [[nodiscard]] WineRegistryFile File() const { return WineRegistryFile(Path(), prefix_->Folder()); }

    // Fills a key, lets Wine load and write the file, and compares all that is below the key.
    template <class Fill>
    void ExpectSameText(const Fill& fill, std::size_t atLeast) {
        WineRegistryFile file(Path(), prefix_->Folder());
        fill(file, *file.CreateKey(KeyAt(file, u"Software"), u"Kel"));
        ASSERT_EQ(file.Commit(), SysError::Success);
        const std::string ours = SectionsBelow(file.Text(), "[Software\\\\Kel");

        (void)prefix_->Run("reg add HKLM\\\\Software\\\\Probe /v x /d y /f");
        prefix_->Stop();
        const std::string whole = test::Get(Path());
        ASSERT_NE(whole.find("[Software\\\\Probe]"), std::string::npos);
        const std::string theirs = SectionsBelow(whole, "[Software\\\\Kel");
        const auto [a, b] = std::mismatch(ours.begin(), ours.end(), theirs.begin(), theirs.end());
        EXPECT_TRUE(a == ours.end() && b == theirs.end())
            << "first difference at " << a - ours.begin() << ":\n"
            << std::string(a, a + std::min<std::ptrdiff_t>(80, ours.end() - a)) << "\nand of Wine:\n"
            << std::string(b, b + std::min<std::ptrdiff_t>(80, theirs.end() - b));
        EXPECT_GT(ours.size(), atLeast);
    }

    std::unique_ptr<test::WinePrefix> prefix_;
};

TEST_F(WineOracle, WritesTheSameTextForWhatWasWrittenHere) {
    EXPECT_EQ(File().Render(), test::Get(Path()));
    ExpectSameText([](WineRegistryFile& file, KeyId root) { RandomTree(20261123).Grow(file, root, 3000); }, 100'000);
}

// One name for each unit: case folding and order must be those of Wine itself.
TEST_F(WineOracle, SortsEveryUnitAsWineDoes) {
    ExpectSameText(
        [](WineRegistryFile& file, KeyId root) {
            std::vector<KeyId> holders;
            for (char16_t number = 0; number < 256; ++number) {
                holders.push_back(*file.CreateKey(root, std::u16string{u'k', static_cast<char16_t>(0x100 + number)}));
            }
            for (char32_t unit = 1; unit < 0x10000; ++unit) {
                if (OnlyUnicodeFolds(static_cast<char16_t>(unit))) {
                    continue;
                }
                const std::u16string name(1, static_cast<char16_t>(unit));
                if (unit != u'\\') {
                    ASSERT_TRUE(file.CreateKey(root, name).Ok());
                }
                ASSERT_EQ(file.SetValue(holders[unit % 256], name, 4, std::vector<std::byte>(4)), SysError::Success);
            }
        },
        2'000'000);
}

TEST_F(WineOracle, ProgramsOfThePrefixSeeTheChanges) {
    const std::filesystem::path path = prefix_->Folder() / "user.reg";
    WineRegistryFile file(path, prefix_->Folder());
    const KeyId key = *file.CreateKey(KeyAt(file, u"Software"), u"Kel");
    EXPECT_EQ(file.SetValue(key, u"number", 4, std::vector<std::byte>(4, std::byte{1})), SysError::Success);
    EXPECT_EQ(file.SetValue(key, u"text", 1, test::Wide("a \\ \"b\"")), SysError::Success);
    const KeyId wine = KeyAt(file, u"Software\\Wine");
    EXPECT_EQ(file.DeleteValue(wine, u"Version"), SysError::Success);
    ASSERT_EQ(file.Commit(), SysError::Success);
    const std::string seen = prefix_->Run("reg query HKCU\\\\Software\\\\Kel");
    EXPECT_NE(seen.find("REG_DWORD    0x1010101"), std::string::npos) << seen;
    EXPECT_NE(seen.find("REG_SZ    a \\ \"b\""), std::string::npos) << seen;
    EXPECT_EQ(prefix_->Run("reg query HKCU\\\\Software\\\\Wine /v Version").find("winxp"), std::string::npos);
}

TEST_F(WineOracle, ARunningServerIsSeen) {
    WineRegistryFile file(prefix_->Folder() / "user.reg", prefix_->Folder());
    ASSERT_TRUE(file.CreateKey(file.Root(), u"Kel").Ok());
    // The server stays a while after its last program.
    (void)prefix_->Run("reg query HKCU\\\\Software\\\\Wine");
    EXPECT_EQ(file.Prepare(), SysError::SharingViolation);
    prefix_->Stop();
}

}  // namespace
}  // namespace kel::offline
