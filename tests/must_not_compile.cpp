// Only row 0 compiles: in every other the declaration is wrong about the function. A test compiles each.
#include <type_traits>

#include "declaration.h"

using Result = std::conditional_t<ROW == 8, long double, double>;
Result Function(REALstringStruct *, std::int32_t, REALboolean, REALmemoryBlockStruct *);

constexpr const char *kDeclarations[] = {
    "F(s as string, i as integer = 0, b as boolean=false,m as memoryblock) as double",
    "F(s as string, i as double, b as boolean, m as memoryblock) as double",
    "F(s as string, i as integer, b as boolean) as double",
    "F(s as string, i as integer, b as boolean, m as memoryblock) as integer",
    "F(s as string, i as integer, b as boolean, m as memoryblock, x as string) as double",
    "F(s as string, i as integr, b as boolean, m as memoryblock) as double",
    "F(s as string, i as integer, b as boolean, m as memoryblock) as Double",
    "F(s as string, i, b as boolean, m as memoryblock) as double",
    "F(s as string, i as integer, b as boolean, m as memoryblock) as double",
    "F(s as string, i as integer, b as boolean, m as memoryblock,) as double",
    "F( as string, i as integer, b as boolean, m as memoryblock) as double",
    "F G(s as string, i as integer, b as boolean, m as memoryblock) as double",
    "F(s as string, i as integer = , b as boolean, m as memoryblock) as double",
    "F(s as string, i as integer, b as boolean, m as memoryblock)x as double",
    "F(s as string, i as integer, b as boolean, m as memoryblock) as double = 3",
};

constexpr const char *kChecked = kzv::declares<decltype(Function)>(kDeclarations[ROW]);
