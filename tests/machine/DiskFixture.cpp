#include "DiskFixture.h"

#include <unistd.h>

#include <fstream>

#include "hive/NewHive.h"
#include "offline/RegistryNamespace.h"

namespace kel::test {

namespace fs = std::filesystem;

std::vector<std::byte> WideText(std::u16string_view text) {
    std::vector<std::byte> bytes;
    for (const char16_t unit : std::u16string(text) + u'\0') {
        bytes.push_back(static_cast<std::byte>(unit & 0xFF));
        bytes.push_back(static_cast<std::byte>(unit >> 8));
    }
    return bytes;
}

DiskFixture::DiskFixture() {
    std::string pattern = (fs::temp_directory_path() / "kel-machine-XXXXXX").string();
    EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
    disk_ = pattern;
}

DiskFixture::~DiskFixture() {
    machine_.reset();
    std::error_code ignored;
    fs::remove_all(disk_, ignored);
}

fs::path DiskFixture::File(const std::string& path, std::string_view bytes) const {
    const fs::path file = disk_ / path;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return file;
}

fs::path DiskFixture::Hive(const std::string& path, std::initializer_list<Entry> entries) const {
    offline::regf::HiveImage image;
    EXPECT_TRUE(image.Assign(offline::regf::MakeHive(3, u"ROOT", 1)));
    offline::Hive hive(std::move(image));
    for (const Entry& entry : entries) {
        offline::KeyId key = hive.Root();
        for (const std::u16string& name : offline::SplitKeyPath(entry.key))
            key = hive.CreateKey(key, name).ValueOr(hive.Root());
        std::vector<std::byte> data = WideText(entry.text);
        std::uint32_t type = entry.text.find(u'%') != std::u16string_view::npos ? 2 : 1;
        if (entry.number >= 0) {
            data.assign(4, std::byte{0});
            data[0] = static_cast<std::byte>(entry.number);
            type = 4;
        }
        EXPECT_EQ(hive.SetValue(key, entry.name, type, data), platform::SysError::Success);
    }
    const auto bytes = hive.Render();
    return File(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

void DiskFixture::MakeXp() const {
    constexpr std::u16string_view Profiles = u"Microsoft\\Windows NT\\CurrentVersion\\ProfileList";
    const std::u16string ada = std::u16string(Profiles) + u"\\S-1-5-21-1-2-3-1003";
    const std::u16string service = std::u16string(Profiles) + u"\\S-1-5-19";
    Hive("WINDOWS/system32/config/SYSTEM",
         {{u"Select", u"Current", u"", 2},
          {u"ControlSet001\\Control\\Session Manager\\Environment", u"windir", u"wrong"},
          {u"ControlSet002\\Control\\Session Manager\\Environment", u"windir", u"%SystemRoot%"},
          {u"ControlSet002\\Control\\Session Manager\\Environment", u"OS", u"Windows_NT"},
          {u"ControlSet002\\Control\\Session Manager\\Environment", u"Path", u"%SystemRoot%\\system32;%SystemRoot%"},
          {u"ControlSet002\\Services\\Sample", u"ImagePath", u"C:\\sample.exe"}});
    Hive("WINDOWS/system32/config/software",
         {{u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentVersion", u"5.1"},
          {u"Microsoft\\Windows NT\\CurrentVersion", u"CurrentBuildNumber", u"2600"},
          {u"Microsoft\\Windows NT\\CurrentVersion", u"ProductName", u"Microsoft Windows XP"},
          {u"Microsoft\\Windows NT\\CurrentVersion", u"CSDVersion", u"Service Pack 3"},
          {u"Microsoft\\Windows NT\\CurrentVersion", u"SystemRoot", u"C:\\WINDOWS"},
          {ada, u"ProfileImagePath", u"%SystemDrive%\\Documents and Settings\\Ada"},
          {service, u"ProfileImagePath", u"%SystemDrive%\\Documents and Settings\\LocalService"},
          {u"Microsoft\\Windows\\CurrentVersion", u"ProgramFilesDir", u"C:\\Program Files"},
          {u"Classes\\.txt", u"", u"txtfile"},
          {u"Classes\\.doc", u"", u"machine"}});
    Hive("WINDOWS/system32/config/default", {{u"Environment", u"WHO", u"logon screen"}});
    const std::u16string folders = u"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
    Hive("Documents and Settings/Ada/NTUSER.DAT", {{u"Software\\Sample", u"Who", u"Ada"},
                                                   {u"Environment", u"TEMP", u"%USERPROFILE%\\Local Settings\\Temp"},
                                                   {u"Environment", u"Path", u"C:\\tools"},
                                                   {folders, u"Personal", u"%USERPROFILE%\\Papers"},
                                                   {folders, u"AppData", u"%USERPROFILE%\\Application Data"}});
    Hive("Documents and Settings/Ada/Local Settings/Application Data/Microsoft/Windows/UsrClass.dat",
         {{u".doc", u"", u"ada"}});
    Folder("Documents and Settings/Ada/Papers");
    Folder("Documents and Settings/Ada/Desktop");
    Folder("Documents and Settings/Ada/Application Data");
    Folder("Documents and Settings/All Users/Desktop");
    Folder("Documents and Settings/LocalService");
    Folder("Program Files");
}

void DiskFixture::Open(const std::string& user, bool writable) {
    offline::MachineOptions options;
    options.machine = disk_;
    options.user = user;
    options.writable = writable;
    machine_.reset();
    machine_ = std::make_unique<offline::OfflinePlatform>(options);
}

std::string DiskFixture::OpenFails(const std::string& user, bool writable) {
    try {
        Open(user, writable);
    } catch (const offline::OpenError& error) {
        return error.what();
    }
    ADD_FAILURE() << "it opened";
    return {};
}

std::string DiskFixture::Value(platform::Hive hive, std::string_view key, std::string_view name) {
    const auto open = machine_->View().registry->Open(hive, key);
    if (!open.Ok())
        return "no key";
    const auto value = open.Value()->Query(name, platform::Unlimited);
    return value.Ok() ? value->data.substr(0, value->data.find('\0')) : "no value";
}

std::string DiskFixture::Special(int identifier) {
    const auto path = machine_->View().shell->SpecialFolder(identifier);
    return path.Ok() ? *path : "none";
}

std::string DiskFixture::Version() {
    const auto version = machine_->View().system->Version();
    if (!version.Ok())
        return "none";
    return std::to_string(version->major) + "." + std::to_string(version->minor) + "." +
           std::to_string(version->build) + " p" + std::to_string(version->platformId) + " " + version->servicePack;
}

}  // namespace kel::test
