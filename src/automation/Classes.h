// The classes that a client may create by itself.
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "automation/Com.h"

namespace kel::automation {

/// One of them.
struct CreatableClass {
    CLSID id;
    std::string_view name;  ///< the class of the program identifier `kelThreatEngine.<name>`
    /// A new object. May throw.
    ComPtr<IUnknown> (*make)();
};

/// All of them. Collections, recordsets and clsFolderPaths are only handed out.
[[nodiscard]] std::span<const CreatableClass> CreatableClasses();

/// A class object for one of them; the class outlives it.
[[nodiscard]] ComPtr<IClassFactory> MakeClassFactory(const CreatableClass& made);

}  // namespace kel::automation
