#include "catalogue/SignatureTable.h"

#include "core/RuntimeError.h"

namespace kel {

void SignatureTable::Add(std::string_view key, Signature signature) {
    if (Count() != texts_.Count()) {
        const auto digest = ParseDigest(key);
        if (digest && FindDigest(*digest)) {
            Raise(ErrDuplicateKey);
        }
    }
    if (!texts_.Add(key, signature)) {
        Raise(ErrDuplicateKey);
    }
}

std::optional<Signature> SignatureTable::Find(std::string_view key) const {
    if (Count() != texts_.Count()) {
        if (const auto digest = ParseDigest(key)) {
            if (const auto found = FindDigest(*digest)) {
                return found;
            }
        }
    }
    const std::size_t row = texts_.Find(key);
    if (row == KeyIndex::None) {
        return std::nullopt;
    }
    return texts_.At(row).signature;
}

std::optional<Signature> SignatureTable::Find(const Digest& digest) const {
    if (const auto found = FindDigest(digest)) {
        return found;
    }
    const std::size_t row = texts_.Count() == 0 ? KeyIndex::None : texts_.Find(HexText(digest));
    return row == KeyIndex::None ? std::nullopt : std::optional(texts_.At(row).signature);
}

SignatureTable::Row SignatureTable::At(std::size_t index) const {
    if (form_ != KeyForm::Texts) {
        Raise(ErrInvalidProcedureCall);
    }
    if (index < 1 || index > texts_.Count()) {
        Raise(ErrSubscriptOutOfRange);
    }
    const KeyIndex::Entry entry = texts_.At(index - 1);
    return {entry.text, entry.signature};
}

SignatureTable::Row SignatureTable::Get(std::string_view key) const {
    const std::size_t row = texts_.Find(key);
    if (row != KeyIndex::None) {
        const KeyIndex::Entry entry = texts_.At(row);
        return {entry.text, entry.signature};
    }
    const auto found = Find(key);
    if (!found) {
        Raise(ErrInvalidProcedureCall);
    }
    return {key, *found};
}

}  // namespace kel
