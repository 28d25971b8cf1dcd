// The error that a failing statement raises inside the engine.
#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "core/SourceLocation.h"

namespace kel {

/// Numbers of the run time's own errors. The logic tests for some of them (52, 457).
enum RuntimeErrorNumber : int {
    ErrInvalidProcedureCall = 5,
    ErrOverflow = 6,
    ErrSubscriptOutOfRange = 9,
    ErrTypeMismatch = 13,
    ErrBadFileName = 52,
    ErrFileNotFound = 53,
    ErrBadFileMode = 54,
    ErrDeviceIo = 57,
    ErrFileExists = 58,
    ErrDiskFull = 61,
    ErrInputPastEnd = 62,
    ErrPermissionDenied = 70,
    ErrPathFileAccess = 75,
    ErrPathNotFound = 76,
    ErrObjectNotSet = 91,
    ErrInvalidUseOfNull = 94,
    ErrCannotCreateObject = 429,
    ErrDuplicateKey = 457,
    ErrZipFailed = 666,
    ErrNoCurrentRow = 3021,
    ErrInvalidArgument = 3001,
    ErrNotFound = 3265,
    ErrClosed = 3704,
    ErrAlreadyOpen = 3705,
    ErrDamagedTable = 3709,
};

/// Number, text and place of a failure. Thrown inside the engine only: `Trap` and its kin at the edge of each
/// procedure stop it, so that nothing reaches a client.
class RuntimeError : public std::exception {
public:
    RuntimeError(int number, std::string text, SourceLocation where = SourceLocation::current());

    [[nodiscard]] int Number() const noexcept { return number_; }
    [[nodiscard]] const std::string& Text() const noexcept { return text_; }
    [[nodiscard]] const SourceLocation& Where() const noexcept { return where_; }
    [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

private:
    int number_;
    std::string text_;
    SourceLocation where_;
};

/// Throws the run time's error with that number and its usual text; with `detail`, which names the file or column,
/// the text is the usual one, ": " and the detail.
[[noreturn]] void Raise(int number, std::string_view detail = {}, SourceLocation where = SourceLocation::current());

/// Runs what a statement asks of the run time: collections, tables, conversions. A failure in there is the statement's
/// own, so it carries the statement's line.
template <class Operation>
decltype(auto) AtStatement(const SourceLocation& where, Operation&& operation) {
    try {
        return std::forward<Operation>(operation)();
    } catch (const RuntimeError& error) {
        throw RuntimeError(error.Number(), error.Text(), where);
    }
}

/// The usual text of an error number, "Application-defined or object-defined error" for an unknown one.
std::string_view RuntimeErrorText(int number);

}  // namespace kel
