// A keyed signature table: a collection's contract in a compact form.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "catalogue/DigestIndex.h"
#include "catalogue/KeyIndex.h"
#include "catalogue/Signature.h"
#include "catalogue/SignatureRecords.h"
#include "catalogue/StoredDigests.h"

namespace kel {

class Recordset;

/// What the keys of a table mostly are.
enum class KeyForm {
    Texts,    ///< paths, folders, domains: can be walked in the order of the rows
    Digests,  ///< MD5 as 32 hexadecimal digits: 17 to 25 bytes a row; a table of these is only looked up
};

/// Signatures by key. Keys compare without regard to case; a key that is there already is error 457.
class SignatureTable {
public:
    explicit SignatureTable(KeyForm form) : form_(form) {}

    /// Adds one signature. Rows by the thousand go through LoadSignatures.
    void Add(std::string_view key, Signature signature);

    [[nodiscard]] std::size_t Count() const noexcept { return stored_.Count() + digests_.Count() + texts_.Count(); }

    /// The signature under a key. A miss is nothing, and no failure: most files of a machine are misses.
    /// Does not allocate for a key of hexadecimal digits or of lower-case ASCII.
    [[nodiscard]] std::optional<Signature> Find(std::string_view key) const;

    /// The same for a digest that is there as bytes: the key is its hexadecimal form, which is made only if the table
    /// has such keys besides its digests.
    [[nodiscard]] std::optional<Signature> Find(const Digest& digest) const;
    // To be inlined always, as what they call.
    /// Asks for the memory that Find will look at first, and without waiting for it. FetchRows wants it to be there.
    [[gnu::always_inline]] void FetchStart(const Digest& digest) const noexcept {
        stored_.FetchStart(digest);
        digests_.FetchStart(digest);
    }
    /// Asks for what Find will look at then.
    [[gnu::always_inline]] void FetchRows(const Digest& digest) const noexcept {
        stored_.FetchRows(digest);
        digests_.FetchRows(digest);
    }

    /// The element under a key; error 5 when there is none.
    template <class Record>
    [[nodiscard]] Record Item(std::string_view key) const {
        return Make<Record>(Get(key));
    }

    /// A row of a table of texts.
    struct Row {
        std::string_view Key;  ///< in its original case, trimmed; valid until the table is changed
        Signature Hit;
    };
    /// Rows of a table of texts, counted from 1 in the order in which they were added. Error 9 for a bad index, 5 for a
    /// table of digests.
    [[nodiscard]] Row At(std::size_t index) const;

    /// The same as an element.
    template <class Record>
    [[nodiscard]] Record Item(std::size_t index) const {
        return Make<Record>(At(index));
    }

private:
    friend class SignatureLoader;

    [[nodiscard]] Row Get(std::string_view key) const;
    [[nodiscard]] std::optional<Signature> FindDigest(const Digest& digest) const noexcept {
        const auto found = stored_.Find(digest);
        return found ? found : digests_.Find(digest);
    }

    template <class Record>
    static Record Make(const Row& row) {
        return {Record::HoldsKey ? std::string(row.Key) : std::string(), row.Hit.OptionalScan, row.Hit.ThreatID};
    }

    KeyForm form_;
    // Of these two one has all digests of a load.
    StoredDigests stored_;
    DigestIndex digests_;
    KeyIndex texts_;  ///< in a table of digests: keys that are none, and what was added one by one
};

}  // namespace kel
