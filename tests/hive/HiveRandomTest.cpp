// Thousands of random edits against a model in memory and against the programs of others.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "HiveFixture.h"
#include "Oracles.h"

namespace kel::test {
namespace {

using offline::Hive;
using offline::KeyId;
using offline::NoKey;
using platform::SysError;

struct ModelValue {
    std::u16string name;
    std::uint32_t type = 0;
    Bytes data;
};
struct ModelKey {
    std::u16string name;
    std::map<std::u16string, ModelKey> keys;      // by upper-case name
    std::map<std::u16string, ModelValue> values;  // by upper-case name
};

void AddLines(const ModelKey& key, const std::string& path, std::vector<std::string>& lines) {
    lines.push_back(path + "\\ class ");
    for (const auto& [upper, value] : key.values)
        lines.push_back(path + "\\ value " + Utf8(value.name) + " type " + std::to_string(value.type) + " data " +
                        Hex(value.data));
    for (const auto& [upper, below] : key.keys)
        AddLines(below, path + "\\" + Utf8(below.name), lines);
}

std::vector<std::string> ModelContent(const ModelKey& root) {
    std::vector<std::string> lines;
    AddLines(root, "", lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}

class RandomEdits : public testing::TestWithParam<std::uint32_t> {
protected:
    static constexpr int Rounds = 20;
    static constexpr int EditsInARound = 150;

    std::mt19937 random{GetParam() * 1000 + 17};
    std::unique_ptr<Hive> hive;
    ModelKey root;

    unsigned Below(unsigned bound) { return static_cast<unsigned>(random() % bound); }

    /// Lists of every form: `li` and lists of them from a version that had no other, the version's own in what follows.
    void Start() {
        const auto old = NewHive(2);
        for (unsigned i = 0; i < 1100; ++i)
            Create(*old, root, {u"li many", Number(i * 7 % 1100)});
        for (unsigned i = 0; i < 20; ++i)
            Create(*old, root, {u"li few", Number(i)});
        Bytes bytes = Written(*old);
        offline::regf::BaseBlock base = offline::regf::ParseBaseBlock(bytes.data());
        base.minor = GetParam();
        StoreBaseBlock(bytes.data(), base);
        hive = ReadHive(bytes);
        for (unsigned i = 0; i < 1100; ++i)
            Create(*hive, root, {u"own many", Number(i * 13 % 1100)});
        for (unsigned i = 0; i < 20; ++i)
            Create(*hive, root, {u"own few", Number(i)});
    }

    static std::u16string Number(unsigned number) {
        const std::string text = "k" + std::to_string(number);
        return {text.begin(), text.end()};
    }

    static void Create(Hive& target, ModelKey& model, const std::vector<std::u16string>& path) {
        ModelKey* key = &model;
        std::u16string joined;
        for (const std::u16string& name : path) {
            joined += (joined.empty() ? u"" : u"\\") + name;
            auto& below = key->keys[offline::Upcase(name)];
            if (below.name.empty())
                below.name = name;
            key = &below;
        }
        Make(target, joined);
    }

    std::u16string RandomName() {
        static constexpr std::u16string_view Letters = u"abcXYZ019 _-.éßÿЖж日本";
        std::u16string name;
        const unsigned length = 1 + Below(Below(10) == 0 ? 60 : 6);
        for (unsigned i = 0; i < length; ++i)
            name += Letters[Below(static_cast<unsigned>(Letters.size()))];
        return name;
    }

    std::u16string AnyCase(const std::u16string& name) { return Below(2) == 0 ? name : offline::Upcase(name); }

    /// A random key that is there, and its key in the hive.
    std::pair<ModelKey*, KeyId> Pick() {
        ModelKey* key = &root;
        KeyId id = hive->Root();
        while (!key->keys.empty() && Below(4) != 0) {
            auto below = key->keys.begin();
            std::advance(below, Below(static_cast<unsigned>(key->keys.size())));
            id = hive->FindKey(id, AnyCase(below->second.name));
            EXPECT_NE(id, NoKey) << Utf8(below->second.name);
            key = &below->second;
        }
        return {key, id};
    }

    Bytes RandomData(std::uint32_t type) {
        if (type == 4)
            return Pattern(4, Below(1000));
        if (type == 11)
            return Pattern(8, Below(1000));
        if (type == 1)
            return Text(Number(Below(100000)));
        switch (Below(12)) {
            case 0:
                return Pattern(16300 + Below(100), Below(1000));
            case 1:
                return Pattern(GetParam() >= 4 ? Below(60000) : Below(16344), Below(1000));
            default:
                return Pattern(1 + Below(200), Below(1000));
        }
    }

    void SetValue() {
        const auto [key, id] = Pick();
        std::u16string name = RandomName();
        if (!key->values.empty() && Below(2) == 0)
            name = AnyCase(key->values.begin()->second.name);
        static constexpr std::array<std::uint32_t, 5> Types{0, 1, 3, 4, 11};
        const std::uint32_t type = Types[Below(5)];
        const Bytes data = RandomData(type);
        ASSERT_EQ(hive->SetValue(id, name, type, data), SysError::Success);
        ModelValue& value = key->values[offline::Upcase(name)];
        if (value.name.empty())
            value.name = name;
        value.type = type;
        value.data = data;
    }

    void DeleteValue() {
        const auto [key, id] = Pick();
        if (key->values.empty()) {
            EXPECT_EQ(hive->DeleteValue(id, u"none"), SysError::FileNotFound);
            return;
        }
        auto value = key->values.begin();
        std::advance(value, Below(static_cast<unsigned>(key->values.size())));
        ASSERT_EQ(hive->DeleteValue(id, AnyCase(value->second.name)), SysError::Success);
        key->values.erase(value);
    }

    void CreateKey() {
        const auto [key, id] = Pick();
        const std::u16string name = RandomName();
        ASSERT_TRUE(hive->CreateKey(id, name).Ok());
        ModelKey& below = key->keys[offline::Upcase(name)];
        if (below.name.empty())
            below.name = name;
    }

    void DeleteKey() {
        const auto [key, id] = Pick();
        if (key->keys.empty())
            return;
        auto below = key->keys.begin();
        std::advance(below, Below(static_cast<unsigned>(key->keys.size())));
        const std::u16string name = AnyCase(below->second.name);
        if (below->second.keys.size() > 50) {
            EXPECT_EQ(hive->DeleteKey(id, name), SysError::AccessDenied);
            return;
        }
        ASSERT_EQ(DeleteTree(*hive, id, name), SysError::Success);
        key->keys.erase(below);
    }

    void Edit() {
        switch (Below(8)) {
            case 0:
            case 1:
                return CreateKey();
            case 2:
            case 3:
                return DeleteKey();
            case 4:
                return DeleteValue();
            default:
                return SetValue();
        }
    }
};
INSTANTIATE_TEST_SUITE_P(Minor, RandomEdits, testing::Values(3U, 5U));

TEST_P(RandomEdits, LeaveWhatTheModelAndOthersSay) {
    const bool oracles = OraclesInstalled();
    Start();
    for (int round = 0; round < Rounds && !HasFailure(); ++round) {
        for (int edit = 0; edit < EditsInARound && !HasFailure(); ++edit)
            Edit();
        ASSERT_EQ(hive->Commit(), SysError::Success);
        const auto again = ReadHive(Written(*hive));
        again->Reader().ReadAll();
        ASSERT_EQ(again->Damage().Count(), 0U) << again->Damage().Items().front().reason;
        ASSERT_EQ(Difference(Content(*again), ModelContent(root)), "") << "round " << round;
        if (oracles)
            ExpectOraclesAgree(*hive, "round " + std::to_string(round));
        if (round % 5 == 4) {
            hive = ReadHive(Written(*hive));
        }
    }
    SKIP_WITHOUT_ORACLES();
}

}  // namespace
}  // namespace kel::test
