#include "programs/CarriedCompanions.h"

#define KEL_TEXT_OF(name) #name
#define KEL_TEXT(name) KEL_TEXT_OF(name)
// The names that the assembler knows begin as those of C do on this target.
#define KEL_SYMBOL(name) KEL_TEXT(__USER_LABEL_PREFIX__) #name
#define KEL_CARRY(name, path)                                                                  \
    asm(".section .rdata,\"dr\"\n.balign 16\n.globl " KEL_SYMBOL(name##Begin) "\n" KEL_SYMBOL( \
        name##Begin) ":\n.incbin \"" path                                                      \
                     "\"\n.globl " KEL_SYMBOL(name##End) "\n" KEL_SYMBOL(name##End) ":\n.byte 0\n.text\n")

KEL_CARRY(kelCleanerProgram, KEL_CLEANER);
KEL_CARRY(kelTreeProgram, KEL_TREE);
KEL_CARRY(kelServerProgram, KEL_SERVER);

extern "C" {
extern const char kelCleanerProgramBegin[];
extern const char kelCleanerProgramEnd[];
extern const char kelTreeProgramBegin[];
extern const char kelTreeProgramEnd[];
extern const char kelServerProgramBegin[];
extern const char kelServerProgramEnd[];
}

namespace kel::test {

std::string_view CleanerProgramFile() {
    return {kelCleanerProgramBegin, kelCleanerProgramEnd};
}

std::string_view TreeProgramFile() {
    return {kelTreeProgramBegin, kelTreeProgramEnd};
}

std::string_view ServerProgramFile() {
    return {kelServerProgramBegin, kelServerProgramEnd};
}

}  // namespace kel::test
