// From a recordset into a signature table.
#pragma once

#include "core/Recordset.h"

namespace kel {

class SignatureTable;

/// What a null in the key column is.
enum class NullKey {
    Failure,  ///< error 94 ends the load
    Empty,    ///< the empty text
};

/// Adds all rows of an open recordset: column 0 the threat, column 1 the key, which is trimmed, column 2 the level; a
/// recordset of two columns means level 0. The first row that fails ends the load with its error; the rows before it
/// stay. Failures: 3704 when the recordset is closed, 457 for a key that is there twice, 94 for a null, 13 and 6 for a
/// value that is no number or does not fit.
void LoadSignatures(Recordset& rows, SignatureTable& into, NullKey nullKey);

}  // namespace kel
