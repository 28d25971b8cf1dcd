#include "child/CarriedPrograms.h"

#define KEL_TEXT_OF(name) #name
#define KEL_TEXT(name) KEL_TEXT_OF(name)
// The names that the assembler knows begin as those of C do on this target.
#define KEL_SYMBOL(name) KEL_TEXT(__USER_LABEL_PREFIX__) #name
#define KEL_CARRY(name, path)                                                                  \
    asm(".section .rdata,\"dr\"\n.balign 16\n.globl " KEL_SYMBOL(name##Begin) "\n" KEL_SYMBOL( \
        name##Begin) ":\n.incbin \"" path                                                      \
                     "\"\n.globl " KEL_SYMBOL(name##End) "\n" KEL_SYMBOL(name##End) ":\n.byte 0\n.text\n")

KEL_CARRY(kelChild, KEL_CHILD);
KEL_CARRY(kelModule, KEL_MODULE);
KEL_CARRY(kelServer, KEL_SERVER);

extern "C" {
extern const char kelChildBegin[];
extern const char kelChildEnd[];
extern const char kelModuleBegin[];
extern const char kelModuleEnd[];
extern const char kelServerBegin[];
extern const char kelServerEnd[];
}

namespace kel::test {

std::string_view ChildProgram() {
    return {kelChildBegin, kelChildEnd};
}

std::string_view ChildModule() {
    return {kelModuleBegin, kelModuleEnd};
}

std::string_view ChildServer() {
    return {kelServerBegin, kelServerEnd};
}

}  // namespace kel::test
