// What /RegServer and /UnregServer leave in the registry.
#include <array>
#include <cstring>
#include <map>
#include <utility>

#include "ServerTest.h"
#include "automation/Classes.h"
#include "server/CommandLine.h"

namespace kel::test {

namespace {

// Every key and value below the folders of the classes that a registration writes to.
using Snapshot = std::map<std::string, std::string>;

void Read(HKEY root, const std::string& path, bool deep, Snapshot& into) {
    windows::KeyHandle key;
    if (::RegOpenKeyExA(root, path.c_str(), 0, KEY_READ, key.Out()) != ERROR_SUCCESS) {
        return;
    }
    into[path] = "key";
    std::array<char, 256> name{};
    for (DWORD index = 0;; ++index) {
        std::array<BYTE, 4096> data{};
        auto length = static_cast<DWORD>(name.size());
        auto size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (::RegEnumValueA(key.Get(), index, name.data(), &length, nullptr, &type, data.data(), &size) !=
            ERROR_SUCCESS) {
            break;
        }
        into[path + "\\@" + std::string(name.data(), length)] =
            std::to_string(type) + ":" + std::string(reinterpret_cast<const char*>(data.data()), size);
    }
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(name.size());
        if (::RegEnumKeyExA(key.Get(), index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS) {
            break;
        }
        const std::string child = path + "\\" + std::string(name.data(), length);
        if (deep) {
            Read(root, child, true, into);
        } else {
            into[child] = "key";
        }
    }
}

Snapshot Classes(HKEY root) {
    const std::string classes = "Software\\Classes";
    Snapshot snapshot;
    Read(root, classes, false, snapshot);
    for (const char* folder : {"\\CLSID", "\\Interface", "\\TypeLib", "\\AppID", "\\kelThreatEngine.Manager"}) {
        Read(root, classes + folder, true, snapshot);
    }
    return snapshot;
}

std::string TextOf(HKEY root, const std::string& key, const char* name = nullptr) {
    windows::KeyHandle opened;
    std::array<char, 1024> text{};
    auto size = static_cast<DWORD>(text.size() - 1);
    if (::RegOpenKeyExA(root, ("Software\\Classes\\" + key).c_str(), 0, KEY_READ, opened.Out()) != ERROR_SUCCESS ||
        ::RegQueryValueExA(opened.Get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(text.data()), &size) !=
            ERROR_SUCCESS) {
        return "<none>";
    }
    return text.data();
}

std::vector<BYTE> Bytes(HKEY root, const std::string& key, const char* name) {
    windows::KeyHandle opened;
    std::vector<BYTE> bytes(4096);
    auto size = static_cast<DWORD>(bytes.size());
    if (::RegOpenKeyExA(root, ("Software\\Classes\\" + key).c_str(), 0, KEY_READ, opened.Out()) != ERROR_SUCCESS ||
        ::RegQueryValueExA(opened.Get(), name, nullptr, nullptr, bytes.data(), &size) != ERROR_SUCCESS) {
        size = 0;
    }
    bytes.resize(size);
    return bytes;
}

// The rights of each identifier that a descriptor lets in, as the identifier's last numbers.
std::map<std::vector<DWORD>, DWORD> Allowed(std::vector<BYTE>& descriptor) {
    std::map<std::vector<DWORD>, DWORD> allowed;
    BOOL present = FALSE;
    BOOL byDefault = FALSE;
    PACL list = nullptr;
    if (descriptor.empty() || ::GetSecurityDescriptorDacl(descriptor.data(), &present, &list, &byDefault) == FALSE) {
        return allowed;
    }
    for (DWORD index = 0; present != FALSE && index < list->AceCount; ++index) {
        void* entry = nullptr;
        ::GetAce(list, index, &entry);
        auto* const ace = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        auto* const sid = reinterpret_cast<PSID>(&ace->SidStart);
        std::vector<DWORD> numbers;
        for (UCHAR part = 0; part < *::GetSidSubAuthorityCount(sid); ++part) {
            numbers.push_back(*::GetSidSubAuthority(sid, part));
        }
        allowed[numbers] = ace->Mask;
    }
    return allowed;
}

const std::string Application = "AppID\\{6E0B4E63-6A59-4F0C-8F0D-2B9A4F6E7C15}";
const std::vector<DWORD> Administrators{32, 544};
const std::vector<DWORD> LocalSystem{18};
const std::vector<DWORD> Interactive{4};
const std::vector<DWORD> Self{10};

}  // namespace

class ServerRegistration : public ServerTest {
protected:
    static DWORD Run(const std::string& switches) { return Program(ServerProgram + " " + switches).ExitCode(); }
};

TEST_F(ServerRegistration, UnregisteringLeavesTheMachineAsItWas) {
    ASSERT_EQ(Run("/UnregServer"), 0U);
    const Snapshot before = Classes(HKEY_LOCAL_MACHINE);
    ASSERT_EQ(Run("/RegServer"), 0U);
    EXPECT_GT(Classes(HKEY_LOCAL_MACHINE).size(), before.size() + 200);
    ASSERT_EQ(Run("/UnregServer"), 0U);
    EXPECT_EQ(Classes(HKEY_LOCAL_MACHINE), before);
    EXPECT_EQ(Run("/RegServer"), 0U);
}

TEST_F(ServerRegistration, UnregisteringLeavesTheUserAsItWas) {
    const Snapshot machine = Classes(HKEY_LOCAL_MACHINE);
    // A user's hive has the key from the start; Wine makes it when it is needed.
    windows::KeyHandle classes;
    ASSERT_EQ(::RegCreateKeyA(HKEY_CURRENT_USER, "Software\\Classes", classes.Out()), ERROR_SUCCESS);
    const Snapshot before = Classes(HKEY_CURRENT_USER);
    ASSERT_EQ(Run("/RegServer /PerUser"), 0U);
    EXPECT_GT(Classes(HKEY_CURRENT_USER).size(), before.size() + 200);
    EXPECT_EQ(Classes(HKEY_LOCAL_MACHINE), machine);
    ASSERT_EQ(Run("/UnregServer /PerUser"), 0U);
    EXPECT_EQ(Classes(HKEY_CURRENT_USER), before);
}

TEST_F(ServerRegistration, RegisteringTwiceChangesNothing) {
    const Snapshot before = Classes(HKEY_LOCAL_MACHINE);
    ASSERT_EQ(Run("/RegServer"), 0U);
    EXPECT_EQ(Classes(HKEY_LOCAL_MACHINE), before);
}

TEST_F(ServerRegistration, UnregisteringWhatIsNotRegisteredIsNoFailure) {
    ASSERT_EQ(Run("/UnregServer"), 0U);
    EXPECT_EQ(Run("/UnregServer"), 0U);
    EXPECT_EQ(Run("/UnregServer /PerUser"), 0U);
    EXPECT_EQ(Run("/RegServer"), 0U);
}

TEST_F(ServerRegistration, EveryClassThatClientsCreateHasItsProgramIdentifier) {
    for (const automation::CreatableClass& made : automation::CreatableClasses()) {
        const std::string name = "kelThreatEngine." + std::string(made.name);
        const std::string id = TextOf(HKEY_LOCAL_MACHINE, name + "\\CLSID");
        EXPECT_EQ(TextOf(HKEY_LOCAL_MACHINE, "CLSID\\" + id + "\\ProgID"), name);
        EXPECT_EQ(TextOf(HKEY_LOCAL_MACHINE, "CLSID\\" + id + "\\LocalServer32"), "\"" + ServerProgram + "\"");
    }
    EXPECT_EQ(TextOf(HKEY_LOCAL_MACHINE, "kelThreatEngine.clsFolderPaths\\CLSID"), "<none>");
}

TEST_F(ServerRegistration, TheUserAdministratorsAndTheSystemAreLetInAndNobodyElse) {
    std::vector<BYTE> launch = Bytes(HKEY_LOCAL_MACHINE, Application, "LaunchPermission");
    std::vector<BYTE> access = Bytes(HKEY_LOCAL_MACHINE, Application, "AccessPermission");
    // Local starts, activations and calls; nothing from another machine.
    const std::map<std::vector<DWORD>, DWORD> launchers{{Interactive, 0xB}, {Administrators, 0xB}, {LocalSystem, 0xB}};
    const std::map<std::vector<DWORD>, DWORD> callers{{Self, 0x3}, {Administrators, 0x3}, {LocalSystem, 0x3}};
    EXPECT_EQ(Allowed(launch), launchers);
    EXPECT_EQ(Allowed(access), callers);
}

TEST_F(ServerRegistration, ACommandLineThatIsNotUnderstoodDoesNothing) {
    const Snapshot before = Classes(HKEY_LOCAL_MACHINE);
    EXPECT_EQ(Run("/Unregister"), 2U);
    EXPECT_EQ(Run("/UnregServer nonsense"), 2U);
    EXPECT_EQ(Run("/PerUser"), 2U);
    EXPECT_EQ(Run("/?"), 0U);
    EXPECT_EQ(Classes(HKEY_LOCAL_MACHINE), before);
    EXPECT_TRUE(ServerProcesses().empty());
}

TEST(ServerCommandLine, SwitchesHaveEitherMarkAndAnyCase) {
    using automation::ParseCommandLine;
    using automation::Task;
    EXPECT_EQ(ParseCommandLine({}).task, Task::Serve);
    EXPECT_FALSE(ParseCommandLine({}).embedding);
    EXPECT_TRUE(ParseCommandLine({"-Embedding"}).embedding);
    EXPECT_TRUE(ParseCommandLine({"/EMBEDDING"}).embedding);
    EXPECT_TRUE(ParseCommandLine({"/Automation"}).embedding);
    EXPECT_EQ(ParseCommandLine({"/regserver"}).task, Task::Register);
    EXPECT_TRUE(ParseCommandLine({"-UnregServer", "-peruser"}).perUser);
    EXPECT_EQ(ParseCommandLine({"-UnregServer", "-peruser"}).task, Task::Unregister);
    EXPECT_EQ(ParseCommandLine({"RegServer"}).unknown, "RegServer");
    EXPECT_EQ(ParseCommandLine({""}).task, Task::Serve);
}

}  // namespace kel::test
