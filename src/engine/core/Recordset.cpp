#include "core/Recordset.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "core/LiveColumn.h"
#include "core/Paths.h"
#include "core/RecordFilter.h"
#include "core/RuntimeError.h"
#include "core/SdbFile.h"
#include "core/Text.h"
#include "platform/Platform.h"

namespace kel {

namespace {

// An index pays when a filter on the same columns comes again and again over a table of some size.
constexpr std::size_t IndexFromRows = 512;
constexpr unsigned IndexFromUses = 3;
constexpr std::size_t MaxIndexes = 8;

// Deleted rows are dropped from memory when there are so many, and more than live ones.
constexpr std::size_t CompactFrom = 4096;

}  // namespace

struct Recordset::Impl {
    // What was written to the current or the new row since it was begun, by column.
    struct Edit {
        bool adding = false;
        bool changed = false;
        std::vector<std::optional<Value>> values;
    };
    struct Lookup {
        std::vector<std::size_t> columns;
        unsigned uses = 0;
        std::unique_ptr<EqualIndex> index;
    };

    std::vector<FieldDefinition> fields;
    RecordColumns columns;
    std::shared_ptr<platform::FileView> image;
    std::shared_ptr<const DigestOrder> order;
    bool open = false;
    std::string path;

    std::vector<bool> deleted;  ///< empty when no row is
    std::size_t deletedCount = 0;

    std::string filterText;
    RecordFilter filter;
    std::vector<Lookup> lookups;
    const EqualIndex* index = nullptr;  ///< the one that serves the current filter, of `lookups`
    std::optional<std::int32_t> count;

    std::size_t row = 0;
    bool bof = true;
    bool eof = true;
    Edit edit;

    void RequireOpen() const {
        if (!open) {
            Raise(ErrClosed);
        }
    }
    void RequireNew() const {
        if (open) {
            Raise(ErrAlreadyOpen);
        }
    }

    void RequireField(std::size_t position) const {
        if (position >= fields.size()) {
            Raise(ErrNotFound);
        }
    }

    [[nodiscard]] std::size_t Rows() const { return columns.empty() ? 0 : columns.front()->Rows(); }
    [[nodiscard]] bool IsDeleted(std::size_t at) const { return at < deleted.size() && deleted[at]; }
    [[nodiscard]] bool Shows(std::size_t at) const {
        return !IsDeleted(at) && (filter.IsEmpty() || filter.Matches(columns, at));
    }

    [[nodiscard]] std::size_t Find(std::string_view name) const {
        for (std::size_t i = 0; i < fields.size(); ++i) {
            if (EqualText(fields[i].name, name)) {
                return i;
            }
        }
        Raise(ErrNotFound, name);
    }

    void Reset() { *this = Impl(); }

    // After a change of the rows' numbers.
    void ForgetIndexes() {
        lookups.clear();
        index = nullptr;
    }

    // After a change of the current row.
    void ForgetIndexes(const std::vector<std::optional<Value>>& changed) {
        for (Lookup& lookup : lookups) {
            if (std::any_of(lookup.columns.begin(), lookup.columns.end(),
                            [&](std::size_t column) { return changed[column].has_value(); })) {
                index = index == lookup.index.get() ? nullptr : index;
                lookup.index.reset();
                lookup.uses = 0;
            }
        }
    }

    void ExtendIndexes() {
        try {
            for (Lookup& lookup : lookups) {
                if (lookup.index) {
                    lookup.index->Extend(columns);
                }
            }
        } catch (...) {
            // The row is there; only the quick way to it is not.
            ForgetIndexes();
        }
    }

    // The next row from `from` on that shows.
    [[nodiscard]] std::optional<std::size_t> Next(std::size_t from) const {
        if (index != nullptr) {
            auto at = index->Next(filter.EqualHash(), from);
            while (at && !Shows(*at)) {
                at = index->Next(filter.EqualHash(), *at + 1);
            }
            return at;
        }
        const std::size_t rows = Rows();
        for (std::size_t at = from; at < rows; ++at) {
            if (Shows(at)) {
                return at;
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] std::optional<std::size_t> Last() const { return Before(Rows()); }

    [[nodiscard]] std::optional<std::size_t> Before(std::size_t end) const {
        for (std::size_t at = end; at-- > 0;) {
            if (Shows(at)) {
                return at;
            }
        }
        return std::nullopt;
    }

    void GoTo(std::optional<std::size_t> at) {
        bof = eof = !at.has_value();
        row = at.value_or(0);
    }

    void UseIndex() {
        index = nullptr;
        if (filter.EqualColumns().empty() || Rows() < IndexFromRows) {
            return;
        }
        auto found = std::find_if(lookups.begin(), lookups.end(),
                                  [&](const Lookup& lookup) { return lookup.columns == filter.EqualColumns(); });
        if (found == lookups.end()) {
            if (lookups.size() >= MaxIndexes) {
                return;
            }
            found = lookups.insert(lookups.end(), Lookup{filter.EqualColumns(), 0, nullptr});
        }
        if (++found->uses >= IndexFromUses && !found->index) {
            found->index = std::make_unique<EqualIndex>(columns, found->columns);
        }
        index = found->index.get();
    }

    void OwnRows() {
        for (const auto& column : columns) {
            column->Own();
        }
        image.reset();
        order.reset();
    }

    // Before a save in place: rows that are still read from the file move to memory first.
    void RemoveOwnFile() {
        if (!paths::FileExists(path)) {
            return;
        }
        OwnRows();
        const platform::SysError error = platform::Current().files->Remove(path);
        if (error != platform::SysError::Success) {
            paths::RaiseFileError(error, path);
        }
    }

    // Makes what was written part of the table.
    void Commit() {
        const Edit done = std::exchange(edit, {});
        if (!done.adding && !done.changed) {
            return;
        }
        OwnRows();
        count.reset();
        if (!done.adding) {
            ForgetIndexes(done.values);
            for (std::size_t i = 0; i < columns.size(); ++i) {
                if (done.values[i]) {
                    columns[i]->Assign(row, *done.values[i]);
                }
            }
            return;
        }
        AppendRow(done.values);
        ExtendIndexes();
        GoTo(Rows() - 1);
    }

    // All columns or, when memory runs out, none.
    void AppendRow(const std::vector<std::optional<Value>>& values) {
        const Value null = Null{};
        std::size_t done = 0;
        try {
            for (; done < columns.size(); ++done) {
                columns[done]->Append(values[done] ? *values[done] : null);
            }
        } catch (...) {
            while (done-- > 0) {
                columns[done]->DropLast();
            }
            throw;
        }
    }

    void RequireCurrent() const {
        RequireOpen();
        if (!edit.adding && (bof || eof || IsDeleted(row))) {
            Raise(ErrNoCurrentRow);
        }
    }

    [[nodiscard]] std::vector<std::uint32_t> LiveRows() const {
        std::vector<std::uint32_t> rows;
        rows.reserve(Rows() - deletedCount);
        for (std::size_t at = 0; at < Rows(); ++at) {
            if (!IsDeleted(at)) {
                rows.push_back(static_cast<std::uint32_t>(at));
            }
        }
        return rows;
    }

    // Only where the current row is about to be chosen anew: row numbers change.
    void Compact() {
        if (deletedCount < CompactFrom || deletedCount < Rows() / 2) {
            return;
        }
        OwnRows();
        const std::vector<std::uint32_t> rows = LiveRows();
        for (const auto& column : columns) {
            column->Keep(rows);
        }
        deleted.clear();
        deletedCount = 0;
        count.reset();
        ForgetIndexes();
    }
};

Recordset::Recordset() : impl_(std::make_unique<Impl>()) {
}

Recordset::~Recordset() = default;

void Recordset::AppendField(std::string_view name, FieldType type, std::uint32_t size, SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireNew();
        if (name.empty() || impl_->fields.size() >= MaxColumns || (type == FieldType::VarChar && size == 0)) {
            Raise(ErrInvalidArgument, name);
        }
        for (const FieldDefinition& field : impl_->fields) {
            if (EqualText(field.name, name)) {
                Raise(ErrInvalidArgument, name);
            }
        }
        impl_->fields.push_back({std::string(name), type, type == FieldType::VarChar ? size : 0});
    });
}

void Recordset::Open(SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireNew();
        if (impl_->fields.empty()) {
            Raise(ErrInvalidArgument);
        }
        for (const FieldDefinition& field : impl_->fields) {
            impl_->columns.push_back(RecordColumn::Make(field));
        }
        impl_->open = true;
    });
}

void Recordset::Open(std::string_view path, SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireNew();
        SdbTable table = ReadSdb(path);
        impl_->Reset();
        for (const auto& column : table.columns) {
            impl_->fields.push_back(column->Definition());
        }
        impl_->columns = std::move(table.columns);
        impl_->image = std::move(table.image);
        impl_->order = std::move(table.order);
        impl_->path = path;
        impl_->open = true;
        impl_->GoTo(impl_->Next(0));
    });
}

void Recordset::Close(SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->Reset();
    });
}

bool Recordset::IsOpen() const noexcept {
    return impl_->open;
}

void Recordset::Save(std::string_view path, SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        const std::string target(path.empty() ? std::string_view(impl_->path) : path);
        if (target.empty()) {
            Raise(ErrInvalidArgument);
        }
        if (path.empty()) {
            impl_->RemoveOwnFile();
        }
        WriteSdb(target, impl_->columns, impl_->LiveRows());
        impl_->path = target;
    });
}

void Recordset::SaveInOrder(std::size_t position, std::string_view path, SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->RequireField(position);
        if (path.empty() || impl_->fields[position].type != FieldType::VarChar) {
            Raise(ErrInvalidArgument);
        }
        const RecordColumn& column = *impl_->columns[position];
        std::vector<std::uint32_t> rows = impl_->LiveRows();
        std::string leftScratch;
        std::string rightScratch;
        std::stable_sort(rows.begin(), rows.end(), [&](std::uint32_t left, std::uint32_t right) {
            if (column.IsNull(left) || column.IsNull(right)) {
                return column.IsNull(left) && !column.IsNull(right);
            }
            return column.Text(left, leftScratch) < column.Text(right, rightScratch);
        });
        WriteSdb(path, impl_->columns, rows);
        impl_->path = path;
    });
}

void Recordset::SetFilter(std::string_view filter, SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        // A filter that can't be understood changes nothing.
        RecordFilter compiled(filter, impl_->columns);
        impl_->Commit();
        impl_->Compact();
        impl_->filter = std::move(compiled);
        impl_->filterText = filter;
        impl_->count.reset();
        impl_->UseIndex();
        impl_->GoTo(impl_->Next(0));
    });
}

const std::string& Recordset::Filter() const {
    return impl_->filterText;
}

bool Recordset::Eof(SourceLocation where) const {
    return AtStatement(where, [&] {
        impl_->RequireOpen();
        return impl_->eof && !impl_->edit.adding;
    });
}

bool Recordset::Bof(SourceLocation where) const {
    return AtStatement(where, [&] {
        impl_->RequireOpen();
        return impl_->bof && !impl_->edit.adding;
    });
}

void Recordset::MoveFirst(SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->Commit();
        impl_->Compact();
        impl_->GoTo(impl_->Next(0));
        if (impl_->eof) {
            Raise(ErrNoCurrentRow);
        }
    });
}

void Recordset::MoveLast(SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->Commit();
        impl_->GoTo(impl_->Last());
        if (impl_->eof) {
            Raise(ErrNoCurrentRow);
        }
    });
}

void Recordset::MoveNext(SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->Commit();
        if (impl_->eof) {
            Raise(ErrNoCurrentRow);
        }
        if (const auto next = impl_->Next(impl_->bof ? 0 : impl_->row + 1)) {
            impl_->GoTo(next);
        } else {
            impl_->eof = true;
            impl_->bof = !impl_->Next(0);
        }
    });
}

void Recordset::MovePrevious(SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->Commit();
        if (impl_->bof) {
            Raise(ErrNoCurrentRow);
        }
        if (const auto previous = impl_->Before(impl_->eof ? impl_->Rows() : impl_->row)) {
            impl_->GoTo(previous);
        } else {
            impl_->bof = true;
            impl_->eof = !impl_->Next(0);
        }
    });
}

std::int32_t Recordset::RecordCount(SourceLocation where) const {
    return AtStatement(where, [&] {
        impl_->RequireOpen();
        if (!impl_->count) {
            std::size_t count = impl_->Rows() - impl_->deletedCount;
            if (!impl_->filter.IsEmpty()) {
                count = 0;
                for (auto at = impl_->Next(0); at; at = impl_->Next(*at + 1)) {
                    ++count;
                }
            }
            impl_->count = static_cast<std::int32_t>(count);
        }
        return *impl_->count;
    });
}

std::size_t Recordset::FieldCount() const {
    return impl_->fields.size();
}

const FieldDefinition& Recordset::Field(std::size_t position, SourceLocation where) const {
    return AtStatement(where, [&]() -> const FieldDefinition& {
        impl_->RequireField(position);
        return impl_->fields[position];
    });
}

Value Recordset::Get(std::size_t position, SourceLocation where) const {
    return AtStatement(where, [&]() -> Value {
        impl_->RequireOpen();
        impl_->RequireField(position);
        impl_->RequireCurrent();
        if (!impl_->edit.values.empty() && impl_->edit.values[position]) {
            return *impl_->edit.values[position];
        }
        return impl_->edit.adding ? Value(Null{}) : impl_->columns[position]->Get(impl_->row);
    });
}

Value Recordset::Get(std::string_view name, SourceLocation where) const {
    return AtStatement(where, [&]() -> Value {
        impl_->RequireOpen();
        return Get(impl_->Find(name), where);
    });
}

void Recordset::Set(std::size_t position, const Value& value, SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->RequireField(position);
        impl_->RequireCurrent();
        impl_->edit.values.resize(impl_->fields.size());
        impl_->edit.values[position] = impl_->columns[position]->Fit(value);
        impl_->edit.changed = true;
    });
}

void Recordset::Set(std::string_view name, const Value& value, SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        Set(impl_->Find(name), value, where);
    });
}

void Recordset::AddNew(SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->Commit();
        if (impl_->Rows() >= static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
            Raise(ErrOverflow);
        }
        impl_->edit.adding = true;
        impl_->edit.values.resize(impl_->fields.size());
    });
}

void Recordset::Update(SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->Commit();
    });
}

void Recordset::Delete(SourceLocation where) {
    AtStatement(where, [&] {
        impl_->RequireCurrent();
        // A row that was only begun is given up, and the position goes back to where it was.
        if (std::exchange(impl_->edit, {}).adding) {
            return;
        }
        impl_->deleted.resize(impl_->Rows());
        impl_->deleted[impl_->row] = true;
        ++impl_->deletedCount;
        impl_->count.reset();
    });
}

std::size_t Recordset::RowCount(SourceLocation where) const {
    return AtStatement(where, [&] {
        impl_->RequireOpen();
        return impl_->Rows() - impl_->deletedCount;
    });
}

std::unique_ptr<Recordset::Column> Recordset::ReadColumn(std::size_t position, SourceLocation where) const {
    return AtStatement(where, [&] {
        impl_->RequireOpen();
        impl_->RequireField(position);
        return MakeLiveColumn(*impl_->columns[position],
                              impl_->deletedCount == 0 ? std::vector<std::uint32_t>() : impl_->LiveRows(), impl_->image,
                              impl_->order);
    });
}

}  // namespace kel
