// Makes the hives of a Windows disk out of a Wine prefix's registry, so that one machine can be scanned in both shapes:
//
//   prefix_to_disk PREFIX DISK
//
// DISK holds a copy of the prefix's drive C already. Nothing is lost on the way: keys, class names, values, types and
// data are those of the text files; a link stays one.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "hive/Hive.h"
#include "hive/NewHive.h"
#include "offline/OfflinePlatform.h"
#include "offline/WineRegistryFile.h"

namespace {

namespace fs = std::filesystem;
using kel::offline::Hive;
using kel::offline::KeyId;
using kel::offline::NoKey;
using kel::offline::RegistryTree;
using kel::offline::WineRegistryFile;
using kel::platform::SysError;

class Maker {
public:
    explicit Maker(std::uint32_t minor) {
        kel::offline::regf::HiveImage image;
        if (!image.Assign(kel::offline::regf::MakeHive(minor, u"ROOT", 0))) {
            throw std::bad_alloc();
        }
        hive_ = std::make_unique<Hive>(std::move(image));
    }

    [[nodiscard]] Hive& Tree() { return *hive_; }
    [[nodiscard]] KeyId Make(KeyId parent, std::u16string_view name) {
        const auto key = hive_->CreateKey(parent, name);
        if (!key) {
            throw std::runtime_error("a key can't be made");
        }
        return *key;
    }
    void Set(KeyId key, std::u16string_view name, std::uint32_t type, std::span<const std::byte> data) {
        if (hive_->SetValue(key, name, type, data) != SysError::Success) {
            throw std::runtime_error("a value can't be set");
        }
    }
    /// All that is below one key comes below the other.
    void Copy(const RegistryTree& from, KeyId source, KeyId target) {
        for (std::uint32_t index = 0; index < from.ValueCount(source); ++index) {
            const auto value = from.ValueAt(source, index);
            if (!value) {
                throw std::runtime_error("a value can't be read");
            }
            Set(target, value->name, value->type, value->data);
        }
        for (std::uint32_t index = 0; index < from.KeyCount(source); ++index) {
            const KeyId key = from.KeyAt(source, index);
            Copy(from, key, Make(target, from.KeyName(key)));
        }
    }
    void Write(const fs::path& path) {
        fs::create_directories(path.parent_path());
        const auto bytes = hive_->Render();
        std::ofstream file(path, std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        file.close();
        if (!file) {
            throw std::runtime_error(path.string() + " can't be written");
        }
    }

private:
    std::unique_ptr<Hive> hive_;
};

void MakeSystem(const WineRegistryFile& machine, const fs::path& path) {
    const KeyId system = machine.FindKey(machine.Root(), u"System");
    Maker maker(3);
    for (std::uint32_t index = 0; index < machine.KeyCount(system); ++index) {
        // What runs as CurrentControlSet lies on a disk under a number, which Select names.
        const KeyId key = machine.KeyAt(system, index);
        const std::u16string name = machine.KeyName(key);
        if (!machine.IsLink(key)) {
            maker.Copy(machine, key,
                       maker.Make(maker.Tree().Root(), name == u"CurrentControlSet" ? u"ControlSet001" : name));
        }
    }
    constexpr std::byte One[]{std::byte{1}, std::byte{0}, std::byte{0}, std::byte{0}};
    maker.Set(maker.Make(maker.Tree().Root(), u"Select"), u"Current", 4, One);
    maker.Write(path);
}

void MakeWhole(const RegistryTree& from, KeyId key, std::uint32_t minor, const fs::path& path) {
    Maker maker(minor);
    maker.Copy(from, key, maker.Tree().Root());
    maker.Write(path);
}

fs::path OnlyUser(const fs::path& disk) {
    for (const auto& entry : fs::directory_iterator(disk / "users")) {
        if (entry.path().filename() != "Public") {
            return entry.path();
        }
    }
    throw std::runtime_error("the prefix has no user");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: prefix_to_disk PREFIX DISK\n", stderr);
        return 64;
    }
    try {
        const fs::path prefix = argv[1];
        const fs::path disk = argv[2];
        const fs::path config = disk / "windows/system32/config";
        const WineRegistryFile machine(prefix / "system.reg");
        const WineRegistryFile user(prefix / "user.reg");
        const WineRegistryFile logon(prefix / "userdef.reg");
        MakeSystem(machine, config / "SYSTEM");
        MakeWhole(machine, machine.FindKey(machine.Root(), u"Software"), 5, config / "SOFTWARE");
        MakeWhole(logon, logon.Root(), 3, config / "DEFAULT");
        MakeWhole(user, user.Root(), 3, OnlyUser(disk) / "NTUSER.DAT");
    } catch (const std::exception& error) {
        std::fprintf(stderr, "prefix_to_disk: %s\n", error.what());
        return 1;
    }
    return 0;
}
