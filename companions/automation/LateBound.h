// Objects of an automation server, called by the names of their members.
#pragma once

#include <windows.h>
// After windows.h.
#include <oleauto.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kel::latebound {

class Object;

/// A value that is passed or comes back. Text is in the machine's code page.
class Argument {
public:
    Argument();
    explicit Argument(bool value);
    explicit Argument(std::int32_t value);
    explicit Argument(std::string_view value);
    explicit Argument(const char* value) : Argument(std::string_view(value)) {}
    ~Argument();
    Argument(Argument&& other) noexcept;
    Argument& operator=(Argument&& other) noexcept;

    // What a call answered. Another type is converted as the system does; EngineFailure when it can't be.

    [[nodiscard]] bool ToBool() const;
    [[nodiscard]] std::int32_t ToNumber() const;
    [[nodiscard]] std::string ToText() const;
    /// Holds nothing when the answer was no object.
    [[nodiscard]] Object ToObject() const;

    [[nodiscard]] VARIANT& Raw() { return value_; }

private:
    [[nodiscard]] Argument As(VARTYPE type) const;

    VARIANT value_;
};

/// One object, or none. A call that fails is an EngineFailure that names the member.
class Object {
public:
    Object() = default;
    /// @param object a reference that becomes this object's own
    explicit Object(IDispatch* object) : object_(object) {}
    ~Object();
    Object(Object&& other) noexcept;
    Object& operator=(Object&& other) noexcept;

    /// Creates an object of a registered class, in the process that serves it.
    static Object Create(const std::string& programID);

    explicit operator bool() const { return object_ != nullptr; }

    template <class... Values>
    Argument Call(std::string_view member, const Values&... values) const {
        return Invoke(member, DISPATCH_METHOD, List(values...));
    }
    template <class... Values>
    [[nodiscard]] Argument Get(std::string_view member, const Values&... values) const {
        return Invoke(member, DISPATCH_PROPERTYGET | DISPATCH_METHOD, List(values...));
    }
    template <class Value>
    void Put(std::string_view member, const Value& value) const {
        Invoke(member, DISPATCH_PROPERTYPUT, List(value));
    }

private:
    // In reverse, as the system takes them.
    template <class... Values>
    static std::vector<Argument> List(const Values&... values) {
        std::vector<Argument> list(sizeof...(values));
        [[maybe_unused]] std::size_t place = sizeof...(values);
        ((list[--place] = Argument(values)), ...);
        return list;
    }
    Argument Invoke(std::string_view member, WORD flags, std::vector<Argument> arguments) const;

    IDispatch* object_ = nullptr;
};

/// The calling thread may use objects for as long as it lives.
class Apartment {
public:
    Apartment();
    ~Apartment();
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;

private:
    HRESULT entered_;
};

}  // namespace kel::latebound
