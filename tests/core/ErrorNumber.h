// The number of the run time's error that a statement raises.
#pragma once

#include <utility>

#include "core/RuntimeError.h"

namespace kel::test {

/// 0 when nothing is raised.
template <class Statement>
int ErrorNumber(Statement&& statement) {
    try {
        std::forward<Statement>(statement)();
        return 0;
    } catch (const RuntimeError& error) {
        return error.Number();
    }
}

/// The text of what is raised, empty when nothing is.
template <class Statement>
std::string ErrorText(Statement&& statement) {
    try {
        std::forward<Statement>(statement)();
        return {};
    } catch (const RuntimeError& error) {
        return error.Text();
    }
}

}  // namespace kel::test
