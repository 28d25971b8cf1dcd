#include "server/Registration.h"

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "automation/Classes.h"
#include "automation/TypeLibrary.h"
#include "server/Access.h"
#include "windows/Win32.h"

namespace kel::automation {

namespace {

constexpr std::string_view Product = "kelThreatEngine";
constexpr std::string_view Description = "Kelvane threat engine";
constexpr std::string_view ApplicationId = "{6E0B4E63-6A59-4F0C-8F0D-2B9A4F6E7C15}";
// The platform's own marshallers: by the type library for dual interfaces, and for pure dispatch interfaces.
constexpr std::string_view DualMarshaller = "{00020424-0000-0000-C000-000000000046}";
constexpr std::string_view DispatchMarshaller = "{00020420-0000-0000-C000-000000000046}";
constexpr std::string_view Platform = sizeof(void*) == 8 ? "win64" : "win32";

struct Failure {
    std::string key;
    LONG error = 0;
};

std::string IdText(const GUID& id) {
    std::array<wchar_t, 39> text{};
    const int length = ::StringFromGUID2(id, text.data(), static_cast<int>(text.size()));
    return windows::Narrow({text.data(), static_cast<std::size_t>(length > 0 ? length - 1 : 0)});
}

std::string Join(std::string_view first, std::string_view second) {
    return std::string(first) + "\\" + std::string(second);
}

// The classes of the machine or of the user.
class ClassesRoot {
public:
    explicit ClassesRoot(bool perUser) : root_(perUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE) {}

    void Write(std::string_view key, std::string_view value) const { Write(key, nullptr, value); }
    void Write(std::string_view key, const char* name, std::string_view value) const {
        const std::string text(value);
        Set(key, name, REG_SZ, {reinterpret_cast<const BYTE*>(text.c_str()), text.size() + 1});
    }
    void WriteBytes(std::string_view key, const char* name, const std::vector<std::byte>& value) const {
        Set(key, name, REG_BINARY, {reinterpret_cast<const BYTE*>(value.data()), value.size()});
    }

    /// The key with all below it. Keys that are not there are passed over.
    void RemoveTree(std::string_view key) const {
        {
            windows::KeyHandle opened;
            const LONG error = ::RegOpenKeyExA(root_, Full(key).c_str(), 0, KEY_READ, opened.Out());
            if (error == ERROR_FILE_NOT_FOUND) {
                return;
            }
            Check(error, key);
            for (std::string child = Child(opened.Get()); !child.empty(); child = Child(opened.Get())) {
                RemoveTree(Join(key, child));
            }
        }
        Check(::RegDeleteKeyA(root_, Full(key).c_str()), key);
    }
    /// Only when nothing is below it.
    void RemoveIfEmpty(std::string_view key) const {
        windows::KeyHandle opened;
        DWORD keys = 0;
        DWORD values = 0;
        if (::RegOpenKeyExA(root_, Full(key).c_str(), 0, KEY_READ, opened.Out()) != ERROR_SUCCESS ||
            ::RegQueryInfoKeyA(opened.Get(), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr,
                               nullptr, nullptr, nullptr) != ERROR_SUCCESS ||
            keys != 0 || values != 0) {
            return;
        }
        opened = windows::KeyHandle();
        Check(::RegDeleteKeyA(root_, Full(key).c_str()), key);
    }
    [[nodiscard]] bool Exists(std::string_view key) const {
        windows::KeyHandle opened;
        return ::RegOpenKeyExA(root_, Full(key).c_str(), 0, KEY_READ, opened.Out()) == ERROR_SUCCESS;
    }

private:
    static std::string Full(std::string_view key) { return "Software\\Classes\\" + std::string(key); }
    static void Check(LONG error, std::string_view key) {
        if (error != ERROR_SUCCESS) {
            throw Failure{Full(key), error};
        }
    }
    static std::string Child(HKEY key) {
        std::array<char, 256> name{};
        DWORD length = static_cast<DWORD>(name.size());
        const LONG error = ::RegEnumKeyExA(key, 0, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        return error == ERROR_SUCCESS ? std::string(name.data(), length) : std::string();
    }
    void Set(std::string_view key, const char* name, DWORD type, std::span<const BYTE> bytes) const {
        windows::KeyHandle opened;
        Check(::RegCreateKeyExA(root_, Full(key).c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, opened.Out(), nullptr),
              key);
        Check(::RegSetValueExA(opened.Get(), name, 0, type, bytes.data(), static_cast<DWORD>(bytes.size())), key);
    }

    HKEY root_;
};

class LibraryAttributes {
public:
    LibraryAttributes() { TypeLibrary()->GetLibAttr(&attributes_); }
    ~LibraryAttributes() { TypeLibrary()->ReleaseTLibAttr(attributes_); }
    LibraryAttributes(const LibraryAttributes&) = delete;
    LibraryAttributes& operator=(const LibraryAttributes&) = delete;
    [[nodiscard]] std::string Id() const { return IdText(attributes_->guid); }
    [[nodiscard]] std::string Version() const {
        return std::to_string(attributes_->wMajorVerNum) + "." + std::to_string(attributes_->wMinorVerNum);
    }

private:
    TLIBATTR* attributes_ = nullptr;
};

struct InterfaceEntry {
    std::string id;
    std::string name;
    std::string_view marshaller;
};

// The interfaces that cross processes.
std::vector<InterfaceEntry> Interfaces() {
    std::vector<InterfaceEntry> entries;
    ITypeLib* const library = TypeLibrary();
    for (UINT index = 0; index < library->GetTypeInfoCount(); ++index) {
        ComPtr<ITypeInfo> info;
        TYPEATTR* attributes = nullptr;
        BSTR name = nullptr;
        if (FAILED(library->GetTypeInfo(index, info.Out())) || FAILED(info->GetTypeAttr(&attributes))) {
            continue;
        }
        if (attributes->typekind == TKIND_DISPATCH &&
            SUCCEEDED(info->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr))) {
            const bool dual = (attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0;
            entries.push_back({IdText(attributes->guid), FromBstr(name), dual ? DualMarshaller : DispatchMarshaller});
            ::SysFreeString(name);
        }
        info->ReleaseTypeAttr(attributes);
    }
    return entries;
}

std::string ProgramIdentifier(const CreatableClass& made) {
    return std::string(Product) + "." + std::string(made.name);
}

void WriteLibrary(const ClassesRoot& root, const std::string& program) {
    const LibraryAttributes attributes;
    const std::string key = Join(Join("TypeLib", attributes.Id()), attributes.Version());
    root.Write(key, Description);
    root.Write(Join(key, "FLAGS"), "0");
    root.Write(Join(key, "0\\" + std::string(Platform)), program);
    root.Write(Join(key, "HELPDIR"), program.substr(0, program.rfind('\\')));
}

void WriteInterfaces(const ClassesRoot& root) {
    const LibraryAttributes attributes;
    for (const InterfaceEntry& entry : Interfaces()) {
        const std::string key = Join("Interface", entry.id);
        root.Write(key, entry.name);
        root.Write(Join(key, "ProxyStubClsid32"), entry.marshaller);
        root.Write(Join(key, "TypeLib"), attributes.Id());
        root.Write(Join(key, "TypeLib"), "Version", attributes.Version());
    }
}

void WriteClass(const ClassesRoot& root, const CreatableClass& made, const std::string& program) {
    const LibraryAttributes attributes;
    const std::string id = IdText(made.id);
    const std::string name = ProgramIdentifier(made);
    const std::string key = Join("CLSID", id);
    root.Write(key, name);
    root.Write(key, "AppID", ApplicationId);
    root.Write(Join(key, "LocalServer32"), "\"" + program + "\"");
    root.Write(Join(key, "ProgID"), name);
    root.Write(Join(key, "TypeLib"), attributes.Id());
    root.Write(Join(key, "Version"), attributes.Version());
    root.Write(Join(key, "Programmable"), "");
    root.Write(name, name);
    root.Write(Join(name, "CLSID"), id);
}

void WriteApplication(const ClassesRoot& root, bool perUser) {
    const std::string key = Join("AppID", ApplicationId);
    root.Write(key, Description);
    const auto launch = MakeAccess(perUser ? Caller::ThisUser : Caller::Interactive, LaunchLocally);
    if (!launch.empty()) {
        root.WriteBytes(key, "LaunchPermission", launch);
        root.WriteBytes(key, "AccessPermission", MakeAccess(Caller::ServersUser, CallLocally));
    }
    root.Write(Join("AppID", std::string(Product) + ".exe"), "AppID", ApplicationId);
}

// The folders of the registry that a bare user hive lacks.
constexpr std::array<std::string_view, 4> Folders{"CLSID", "Interface", "TypeLib", "AppID"};

void RemoveAll(const ClassesRoot& root, bool perUser) {
    const LibraryAttributes attributes;
    for (const CreatableClass& made : CreatableClasses()) {
        root.RemoveTree(Join("CLSID", IdText(made.id)));
        root.RemoveTree(ProgramIdentifier(made));
    }
    root.RemoveTree(Join("AppID", ApplicationId));
    root.RemoveTree(Join("AppID", std::string(Product) + ".exe"));
    const std::string library = Join("TypeLib", attributes.Id());
    const std::string version = Join(library, attributes.Version());
    root.RemoveTree(Join(version, "0\\" + std::string(Platform)));
    root.RemoveIfEmpty(Join(version, "0"));
    // A build for the other kind of processor may be registered beside this one.
    if (!root.Exists(Join(version, "0"))) {
        for (const InterfaceEntry& entry : Interfaces()) {
            root.RemoveTree(Join("Interface", entry.id));
        }
        root.RemoveTree(version);
        root.RemoveIfEmpty(library);
    }
    if (perUser) {
        for (const std::string_view folder : Folders) {
            root.RemoveIfEmpty(folder);
        }
    }
}

std::string Reason(const Failure& failure, bool perUser) {
    std::array<char, 512> text{};
    DWORD length =
        ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                         static_cast<DWORD>(failure.error), 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
    while (length > 0 && static_cast<unsigned char>(text[length - 1]) <= ' ') {
        --length;
    }
    std::string reason = std::string(perUser ? "HKEY_CURRENT_USER\\" : "HKEY_LOCAL_MACHINE\\") + failure.key + ": " +
                         std::string(text.data(), length) + " (" + std::to_string(failure.error) + ")";
    if (failure.error == ERROR_ACCESS_DENIED && !perUser) {
        reason += ". An administrator can do it, or /PerUser does it for the current user";
    }
    return reason;
}

template <class Work>
RegistrationOutcome Attempt(bool perUser, Work&& work) {
    try {
        work(ClassesRoot(perUser));
        return {true, {}};
    } catch (const Failure& failure) {
        return {false, Reason(failure, perUser)};
    } catch (const std::exception& error) {
        return {false, error.what()};
    }
}

}  // namespace

RegistrationOutcome RegisterServer(bool perUser) {
    return Attempt(perUser, [&](const ClassesRoot& root) {
        const std::string program = windows::Narrow(ProgramPath());
        WriteLibrary(root, program);
        WriteInterfaces(root);
        WriteApplication(root, perUser);
        for (const CreatableClass& made : CreatableClasses()) {
            WriteClass(root, made, program);
        }
    });
}

RegistrationOutcome UnregisterServer(bool perUser) {
    return Attempt(perUser, [&](const ClassesRoot& root) { RemoveAll(root, perUser); });
}

}  // namespace kel::automation
