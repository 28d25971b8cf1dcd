// Files that a procedure is about to ask the hash of, read and hashed ahead of it, several at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Files.h"
#include "system/LaneHasher.h"
#include "system/MediumSpeed.h"

namespace kel {

/// A folder of such files.
struct AheadFolder {
    std::string path;  ///< with a trailing backslash
    std::unique_ptr<platform::FolderAhead> files;
};

/// A file that is likely to be asked for.
struct AheadItem {
    std::shared_ptr<const AheadFolder> folder;  ///< null when it can't be read ahead
    std::size_t index = 0;                      ///< in its folder, where `path` is empty
    std::string path;  ///< to the letter as modMD5::FileMD5 will be given it; empty: the folder's with the listed name

    [[nodiscard]] bool Is(std::string_view wanted) const;
    /// Null when it can't be read ahead.
    [[nodiscard]] std::unique_ptr<platform::AheadFile> Open() const;
};

/// Says what will be asked for, in that order. It may be wrong: that costs time and nothing else.
class AheadSource {
public:
    virtual ~AheadSource() = default;
    /// False at the end. An item without folder and path is none yet: it has looked long enough for one call.
    /// @param slow whether the medium is, so that folders too are worth asking for early
    virtual bool Next(AheadItem& item, bool slow) = 0;
};

/// Files by their full paths.
class PathsAhead : public AheadSource {
protected:
    /// Makes `item` the file of a path; one that is passed over where there is no such file.
    void Fill(AheadItem& item, std::string path);

private:
    std::shared_ptr<const AheadFolder> folder_;  // of the last one
};

/// The files of a list of paths.
class ListedFiles : public PathsAhead {
public:
    /// @param paths full paths; what of them is no file is passed over
    explicit ListedFiles(std::vector<std::string> paths) : paths_(std::move(paths)) {}
    bool Next(AheadItem& item, bool slow) override;

private:
    std::vector<std::string> paths_;
    std::size_t next_ = 0;
};

/// While it lives, modMD5::FileMD5 finds the digests of its files ready. It works only when it is asked, on the
/// caller's thread, without a yield, and gives a digest only for a file that is the one that was hashed, by identity,
/// size and times. Files outside of FileMD5's limits are not read.
///
/// The environment variable KEL_READ_AHEAD is the limit of its memory in megabytes, 64 when it is not set; 0 turns
/// reading ahead off. A typical scan takes 12 of them.
class LookAhead {
public:
    /// Told each digest as soon as it is there, some files before it is asked for. It must not throw.
    using Ready = std::function<void(const Md5Digest& digest)>;

    explicit LookAhead(std::unique_ptr<AheadSource> source, Ready ready = {});
    ~LookAhead();
    LookAhead(const LookAhead&) = delete;
    LookAhead& operator=(const LookAhead&) = delete;

    /// The digest of a file by the innermost one that is alive; nothing when none has it.
    /// @param stamp the file's, as it is now
    [[nodiscard]] static std::optional<Md5Digest> Digest(std::string_view path, const platform::FileStamp& stamp);
    /// Whether any is alive: without one, a stamp is of no use.
    [[nodiscard]] static bool Active();

private:
    enum class State : std::uint8_t { Waiting, Hashed, Unknown };
    struct Item {
        AheadItem what;
        platform::FileStamp stamp;
        Md5Digest digest{};
        State state = State::Unknown;
    };
    struct Coming {
        std::uint64_t number;
        LaneHasher::Begun begun;  // no file when it is not to be digested after all
        bool asked = false;       // early: how fast it is read then tells nothing of the medium
    };

    [[nodiscard]] Item& At(std::uint64_t number) { return items_[static_cast<std::size_t>(number % items_.size())]; }
    [[nodiscard]] Item* Find(std::string_view path);
    void ForgetFirst();
    void ForgetWhenFull();
    bool Fetch();
    [[nodiscard]] std::size_t Depth() const;
    /// @param passed counts the looks that found nothing to hash, of which one answer bears so many
    void Refill(unsigned& passed);
    void BeginReads();
    void Begin(Coming& coming);
    void StartNext();
    void Work(Item& item);

    std::unique_ptr<AheadSource> source_;
    Ready ready_;
    std::unique_ptr<LaneHasher> hasher_;  // null when reading ahead is off
    // The last item that was asked for and those behind it, by number; a ring.
    std::vector<Item> items_;
    std::uint64_t first_ = 0;
    std::uint64_t end_ = 0;
    bool asked_ = false;         // the first one was
    std::deque<Coming> coming_;  // being opened, being read, waiting for a lane
    std::size_t begun_ = 0;      // the first ones of them, which are open
    std::size_t atOnce_ = 1;     // as the last file's folder has it
    bool atEnd_ = false;

    MediumSpeed medium_;
    LookAhead* outer_;
};

}  // namespace kel
