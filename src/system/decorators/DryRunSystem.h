// The smaller parts of a dry run.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "decorators/DryRunFiles.h"
#include "decorators/DryRunJournal.h"
#include "decorators/ForwardingSystem.h"

namespace kel::decorators {

/// Deletes in the overlay and starts nothing.
class DryRunShell final : public ForwardingShell {
public:
    DryRunShell(const platform::Platform& inner, DryRunFiles& files, const DryRunJournal& journal)
        : ForwardingShell(*inner.shell), files_(files), journal_(journal), live_(inner.can.live) {}

    int Delete(std::string_view path, std::uint16_t flags, platform::SysError& lastError) override;
    platform::SysError Execute(std::string_view operation, std::string_view file, std::string_view parameters,
                               int show) override;

private:
    DryRunFiles& files_;
    const DryRunJournal& journal_;
    bool live_;
};

/// Calls no library: every one that is there is taken to register and unregister itself.
class DryRunComponents final : public platform::Components {
public:
    DryRunComponents(const platform::Platform& inner, DryRunFiles& files, const DryRunJournal& journal)
        : files_(files), journal_(journal), callable_(inner.can.components) {}

    platform::Result<std::int32_t> Register(std::string_view path) override;
    platform::Result<std::int32_t> Unregister(std::string_view path) override;

private:
    platform::Result<std::int32_t> Call(WriteKind kind, std::string_view path);

    DryRunFiles& files_;
    const DryRunJournal& journal_;
    bool callable_;
};

/// Fetches nothing: the file that it makes is empty.
class DryRunInternet final : public platform::Internet {
public:
    DryRunInternet(const platform::Platform& inner, DryRunFiles& files, const DryRunJournal& journal)
        : files_(files), journal_(journal), network_(inner.can.network) {}

    platform::SysError Download(std::string_view url, std::string_view path) override;

private:
    DryRunFiles& files_;
    const DryRunJournal& journal_;
    bool network_;
};

/// Every point is taken to be made.
class DryRunRestorePoints final : public platform::RestorePoints {
public:
    DryRunRestorePoints(const platform::Platform& inner, const DryRunJournal& journal)
        : journal_(journal), available_(inner.can.network) {}

    platform::Result<std::int32_t> Create(std::string_view description, std::int32_t type, std::int32_t event) override;

private:
    const DryRunJournal& journal_;
    bool available_;
};

/// Reads from the machine's file whose bytes show at a path.
class DryRunVersions final : public ForwardingVersions {
public:
    DryRunVersions(const platform::Platform& inner, DryRunFiles& files)
        : ForwardingVersions(*inner.versions), files_(files) {}

    platform::Result<std::uint32_t> Size(std::string_view path) override;
    platform::Result<std::unique_ptr<platform::VersionBlock>> Load(std::string_view path, std::uint32_t size) override;

private:
    DryRunFiles& files_;
};

}  // namespace kel::decorators
