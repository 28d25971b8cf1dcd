// Tables as clients receive them, under the names of the recordset service.
#include "core/Recordset.h"

#include "automation/Enumerator.h"
#include "automation/Object.h"
#include "automation/Objects.h"
#include "core/Text.h"

namespace kel::automation {

/// The columns of a table.
struct RecordsetFields {
    explicit RecordsetFields(std::shared_ptr<kel::Recordset> given) : table(std::move(given)) {}

    std::shared_ptr<kel::Recordset> table;
};
/// One of them.
struct RecordsetField {
    RecordsetField(std::shared_ptr<kel::Recordset> given, std::size_t at) : table(std::move(given)), position(at) {}

    std::shared_ptr<kel::Recordset> table;
    std::size_t position;

    [[nodiscard]] const FieldDefinition& Definition() const { return table->Field(position); }
};

KEL_WRAPPED(RecordsetFields, _Fields);
KEL_WRAPPED(RecordsetField, _Field);

namespace {

class RecordsetObject final : public Object<kel::Recordset, _Recordset, ::Recordset> {
public:
    using Object::Object;

    STDMETHODIMP get_Fields(_Fields** Result) override {
        return Answer(Result, [&] { return std::make_shared<RecordsetFields>(Thing()); });
    }
    STDMETHODIMP get_EOF(VARIANT_BOOL* Result) override {
        return Answer(Result, [&] { return It().Eof(); });
    }
    STDMETHODIMP get_BOF(VARIANT_BOOL* Result) override {
        return Answer(Result, [&] { return It().Bof(); });
    }
    STDMETHODIMP get_RecordCount(LONG* Result) override {
        return Answer(Result, [&] { return It().RecordCount(); });
    }
    STDMETHODIMP get_Filter(VARIANT* Result) override {
        return Answer(Result, [&] { return Value(It().Filter()); });
    }
    STDMETHODIMP put_Filter(VARIANT Value) override {
        return Do([&] {
            const kel::Value filter = FromVariant(Value);
            const auto* text = std::get_if<std::string>(&filter);
            // The service's number for no filter is 0.
            if (text == nullptr && ToLong(filter) != 0) {
                Raise(ErrInvalidArgument);
            }
            It().SetFilter(text == nullptr ? std::string_view() : *text);
        });
    }
    STDMETHODIMP MoveFirst() override {
        return Do([&] { It().MoveFirst(); });
    }
    STDMETHODIMP MoveLast() override {
        return Do([&] { It().MoveLast(); });
    }
    STDMETHODIMP MoveNext() override {
        return Do([&] { It().MoveNext(); });
    }
    STDMETHODIMP MovePrevious() override {
        return Do([&] { It().MovePrevious(); });
    }
    STDMETHODIMP AddNew() override {
        return Do([&] { It().AddNew(); });
    }
    STDMETHODIMP Update() override {
        return Do([&] { It().Update(); });
    }
    STDMETHODIMP Delete() override {
        return Do([&] { It().Delete(); });
    }
    STDMETHODIMP Open(BSTR Source) override {
        return Do([&] {
            const std::string path = FromBstr(Source);
            if (path.empty()) {
                It().Open();
            } else {
                It().Open(path);
            }
        });
    }
    STDMETHODIMP Save(BSTR FileName, LONG) override {
        return Do([&] { It().Save(FromBstr(FileName)); });
    }
    STDMETHODIMP Close() override {
        return Do([&] { It().Close(); });
    }
};

FieldType TypeOfNumber(LONG number) {
    switch (number) {
        case static_cast<LONG>(FieldType::Integer):
        case static_cast<LONG>(FieldType::SmallInt):
        case static_cast<LONG>(FieldType::Date):
        case static_cast<LONG>(FieldType::Boolean):
        case static_cast<LONG>(FieldType::Numeric):
        case static_cast<LONG>(FieldType::VarChar):
            return static_cast<FieldType>(number);
        default:
            Raise(ErrInvalidArgument);
    }
}

class FieldsObject final : public Object<RecordsetFields, _Fields, ::Fields> {
public:
    using Object::Object;

    STDMETHODIMP get_Item(VARIANT Index, _Field** Result) override {
        return Answer(Result, [&] { return std::make_shared<RecordsetField>(Table(), Position(FromVariant(Index))); });
    }
    STDMETHODIMP get_Count(LONG* Result) override {
        return Answer(Result, [&] { return static_cast<std::int32_t>(Table()->FieldCount()); });
    }
    STDMETHODIMP Append(BSTR Name, LONG Type, LONG DefinedSize) override {
        return Do([&] {
            if (DefinedSize < 0) {
                Raise(ErrInvalidArgument);
            }
            Table()->AppendField(FromBstr(Name), TypeOfNumber(Type), static_cast<std::uint32_t>(DefinedSize));
        });
    }
    STDMETHODIMP get__NewEnum(IUnknown** Result) override {
        if (Result == nullptr) {
            return E_POINTER;
        }
        *Result = nullptr;
        return Do([&] {
            EnumeratedList<VARIANT> list;
            const auto table = Table();
            list.count = [table] { return static_cast<ULONG>(table->FieldCount()); };
            list.read = [table](ULONG place, VARIANT* into) {
                const auto field = Wrap(std::make_shared<RecordsetField>(table, std::size_t{place}));
                *into = Variant(static_cast<IDispatch*>(field.Get())).Detach();
            };
            *Result = new VariantEnumerator(std::move(list));
        });
    }

private:
    [[nodiscard]] const std::shared_ptr<kel::Recordset>& Table() const { return It().table; }

    [[nodiscard]] std::size_t Position(const Value& index) const {
        const std::size_t count = Table()->FieldCount();
        if (const auto* name = std::get_if<std::string>(&index)) {
            for (std::size_t position = 0; position < count; ++position) {
                if (EqualText(Table()->Field(position).name, *name)) {
                    return position;
                }
            }
            Raise(ErrNotFound, *name);
        }
        const std::int32_t position = ToLong(index);
        if (position < 0 || static_cast<std::size_t>(position) >= count) {
            Raise(ErrNotFound);
        }
        return static_cast<std::size_t>(position);
    }
};

class FieldObject final : public Object<RecordsetField, _Field, ::Field> {
public:
    using Object::Object;

    STDMETHODIMP get_Value(VARIANT* Result) override {
        return Answer(Result, [&] { return It().table->Get(It().position); });
    }
    STDMETHODIMP put_Value(VARIANT Value) override {
        return Do([&] { It().table->Set(It().position, FromVariant(Value)); });
    }
    STDMETHODIMP get_Name(BSTR* Result) override {
        return Answer(Result, [&] { return It().Definition().name; });
    }
    STDMETHODIMP get_Type(LONG* Result) override {
        return Answer(Result, [&] { return static_cast<std::int32_t>(It().Definition().type); });
    }
    STDMETHODIMP get_DefinedSize(LONG* Result) override {
        return Answer(Result, [&] { return static_cast<std::int32_t>(It().Definition().size); });
    }
};

}  // namespace

KEL_WRAPS(RecordsetObject, kel::Recordset)
KEL_WRAPS(FieldsObject, RecordsetFields)
KEL_WRAPS(FieldObject, RecordsetField)

}  // namespace kel::automation
