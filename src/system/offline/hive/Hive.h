// A registry hive of Windows NT and its successors (regf 1.1 to 1.6) as a tree of keys, read and changed in memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hive/ByteRange.h"
#include "hive/HiveIndex.h"
#include "hive/HiveReader.h"
#include "hive/LogReplay.h"
#include "hive/RegistryTree.h"

namespace kel::offline {

/// Keys are the cells that hold them, so a KeyId stays what it is while other keys come and go. Changes of a hive of
/// which something could not be read are refused where the unreadable would be lost (SysError::RegistryCorrupt). One
/// thread.
class Hive : public RegistryTree {
public:
    static constexpr std::size_t MaximumKeyName = 255;      ///< units
    static constexpr std::size_t MaximumValueName = 16383;  ///< units

    /// Replays the logs that belong to a dirty hive. Throws regf::HiveError when the bytes are no readable hive.
    explicit Hive(regf::HiveImage image, std::span<const regf::LogFile> logs = {});
    ~Hive() override;

    /// What the logs did, or that a dirty hive had none.
    [[nodiscard]] const regf::ReplayOutcome& Replay() const { return replay_; }
    /// What could not be read so far; whole after ReadAll of the reader.
    [[nodiscard]] const DamageList& Damage() const { return reader_->Damage(); }
    /// The keys and values where they lie, for those who walk a whole hive.
    [[nodiscard]] const regf::HiveReader& Reader() const { return *reader_; }
    [[nodiscard]] std::uint32_t Minor() const { return reader_->Minor(); }
    /// Where time stamps come from; the host's clock unless set. FILETIME.
    void SetClock(std::function<std::uint64_t()> clock) { clock_ = std::move(clock); }

    [[nodiscard]] KeyId Root() const override { return reader_->Root(); }
    [[nodiscard]] KeyId FindKey(KeyId parent, std::u16string_view name) const override;
    [[nodiscard]] std::uint32_t KeyCount(KeyId key) const override;
    [[nodiscard]] KeyId KeyAt(KeyId key, std::uint32_t index) const override;
    [[nodiscard]] std::u16string KeyName(KeyId key) const override;
    [[nodiscard]] std::u16string ClassName(KeyId key) const override;
    [[nodiscard]] std::uint64_t LastWritten(KeyId key) const override;

    [[nodiscard]] std::uint32_t ValueCount(KeyId key) const override;
    [[nodiscard]] platform::Result<TreeValue> ValueAt(KeyId key, std::uint32_t index) const override;
    [[nodiscard]] platform::Result<TreeValue> FindValue(KeyId key, std::u16string_view name) const override;

    platform::Result<KeyId> CreateKey(KeyId parent, std::u16string_view name) override;
    platform::SysError DeleteKey(KeyId parent, std::u16string_view name) override;
    platform::SysError SetValue(KeyId key, std::u16string_view name, std::uint32_t type,
                                std::span<const std::byte> data) override;
    platform::SysError DeleteValue(KeyId key, std::u16string_view name) override;

    [[nodiscard]] bool Changed() const override { return changed_; }
    /// In memory alone: what was changed is taken as what the hive holds.
    platform::SysError Commit() override;
    void Discard() override;

    /// The hive as it has to be written now: time and equal sequence numbers in its header, so that its logs are void.
    /// Ends with the next operation.
    std::span<const std::byte> Render();
    /// Whole pages, in order, in which the image differs from that of the last Commit or, before one, from what was
    /// there when the first change began. The page of the header is always one of them.
    [[nodiscard]] std::vector<ByteRange> ChangedPages() const;

protected:
    /// What was changed is taken as what the hive holds.
    /// @param changed ChangedPages() behind the last change
    void Accept(const std::vector<ByteRange>& changed);
    /// Called before each change, also one that is refused then: what was made of the hive before is out of date.
    virtual void OnChange() {}

private:
    struct Writer;
    void Reopen(regf::HiveImage image);
    /// Begins a change: keeps what Discard goes back to.
    Writer& Edit();
    /// After a change of a key.
    void Touch(KeyId key);
    [[nodiscard]] bool IsKey(KeyId key) const { return reader_->IsKeyCell(key); }
    [[nodiscard]] const std::vector<std::uint32_t>& Listing(KeyId key) const;
    [[nodiscard]] const std::vector<std::uint32_t>& ValuesOf(KeyId key) const;
    [[nodiscard]] std::uint32_t FindValueCell(KeyId key, std::u16string_view name) const;
    [[nodiscard]] platform::Result<TreeValue> Read(std::uint32_t value) const;

    std::unique_ptr<regf::HiveReader> reader_;
    std::unique_ptr<regf::HiveIndex> index_;
    std::unique_ptr<Writer> writer_;
    regf::ReplayOutcome replay_;
    std::optional<std::vector<std::byte>> before_;  // the image that Discard goes back to, from the first change on
    bool began_ = false;                            // a change since `before_`, be it one that was refused
    bool changed_ = false;
    std::function<std::uint64_t()> clock_;
    // The key that was listed last.
    mutable KeyId listedKey_ = NoKey;
    mutable std::vector<std::uint32_t> listing_;
    mutable KeyId valuesKey_ = NoKey;
    mutable std::vector<std::uint32_t> values_;
    mutable bool valuesComplete_ = true;
};

}  // namespace kel::offline
