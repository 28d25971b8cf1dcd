#include "core/RuntimeError.h"

#include <array>
#include <utility>

namespace kel {

namespace {

struct ErrorText {
    int number;
    std::string_view text;
};

constexpr std::array Texts{
    ErrorText{ErrInvalidProcedureCall, "Invalid procedure call or argument"},
    ErrorText{ErrOverflow, "Overflow"},
    ErrorText{ErrSubscriptOutOfRange, "Subscript out of range"},
    ErrorText{ErrTypeMismatch, "Type mismatch"},
    ErrorText{ErrBadFileName, "Bad file name or number"},
    ErrorText{ErrFileNotFound, "File not found"},
    ErrorText{ErrBadFileMode, "Bad file mode"},
    ErrorText{ErrDeviceIo, "Device I/O error"},
    ErrorText{ErrFileExists, "File already exists"},
    ErrorText{ErrDiskFull, "Disk full"},
    ErrorText{ErrInputPastEnd, "Input past end of file"},
    ErrorText{ErrPermissionDenied, "Permission denied"},
    ErrorText{ErrPathFileAccess, "Path/File access error"},
    ErrorText{ErrPathNotFound, "Path not found"},
    ErrorText{ErrObjectNotSet, "Object variable or With block variable not set"},
    ErrorText{ErrInvalidUseOfNull, "Invalid use of Null"},
    ErrorText{ErrCannotCreateObject, "The service can't create the object"},
    ErrorText{ErrDuplicateKey, "This key is already associated with an element of this collection"},
    ErrorText{ErrNoCurrentRow,
              "Either BOF or EOF is True, or the current record has been deleted. Requested operation requires a "
              "current record."},
    ErrorText{ErrInvalidArgument,
              "Arguments are of the wrong type, are out of acceptable range, or are in conflict with one another."},
    ErrorText{ErrNotFound, "Item cannot be found in the collection corresponding to the requested name or ordinal."},
    ErrorText{ErrClosed, "Operation is not allowed when the object is closed."},
    ErrorText{ErrAlreadyOpen, "Operation is not allowed when the object is open."},
    ErrorText{ErrDamagedTable, "The file is no table, or it is damaged"},
};

}  // namespace

RuntimeError::RuntimeError(int number, std::string text, SourceLocation where)
    : number_(number), text_(std::move(text)), where_(where) {
}

std::string_view RuntimeErrorText(int number) {
    for (const ErrorText& entry : Texts) {
        if (entry.number == number) {
            return entry.text;
        }
    }
    return "Application-defined or object-defined error";
}

void Raise(int number, std::string_view detail, SourceLocation where) {
    std::string text{RuntimeErrorText(number)};
    if (!detail.empty()) {
        text += ": ";
        text += detail;
    }
    throw RuntimeError(number, std::move(text), where);
}

}  // namespace kel
