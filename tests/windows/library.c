/* Loading the library, and replacing its imports. */
#include "library.h"

#include <stdlib.h>
#include <string.h>

int failures = 0;

void expect(int holds, const char *what, int line) {
    if (holds) return;
    printf("line %d: not so: %s\n", line, what);
    fflush(stdout);
    failures++;
}

int finish(const char *program) {
    if (failures == 0) printf("%s: all as it should be\n", program);
    fflush(stdout);
    return failures != 0;
}

HMODULE loadLibrary(void) {
    HMODULE library = LoadLibraryA("moxw7.dll");
    if (!library) {
        printf("moxw7.dll cannot be loaded: %lu\n", GetLastError());
        exit(2);
    }
    return library;
}

AnyFunction function(HMODULE library, const char *name) {
    AnyFunction found = (AnyFunction)GetProcAddress(library, name);
    if (!found) {
        printf("%s is not exported\n", name);
        failures++;
    }
    return found;
}

AnyFunction replaceImport(HMODULE library, const char *name, AnyFunction replacement) {
    char *base = (char *)library;
    IMAGE_NT_HEADERS *headers = (IMAGE_NT_HEADERS *)(base + ((IMAGE_DOS_HEADER *)base)->e_lfanew);
    DWORD imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    IMAGE_IMPORT_DESCRIPTOR *module = (IMAGE_IMPORT_DESCRIPTOR *)(base + imports);
    for (; module->Name; module++) {
        IMAGE_THUNK_DATA *names = (IMAGE_THUNK_DATA *)(base + module->OriginalFirstThunk);
        IMAGE_THUNK_DATA *addresses = (IMAGE_THUNK_DATA *)(base + module->FirstThunk);
        for (; names->u1.AddressOfData; names++, addresses++) {
            IMAGE_IMPORT_BY_NAME *import = (IMAGE_IMPORT_BY_NAME *)(base + names->u1.AddressOfData);
            if ((names->u1.Ordinal & IMAGE_ORDINAL_FLAG) || strcmp((char *)import->Name, name) != 0) continue;
            AnyFunction before = (AnyFunction)addresses->u1.Function;
            DWORD protection;
            VirtualProtect(addresses, sizeof *addresses, PAGE_READWRITE, &protection);
            addresses->u1.Function = (DWORD)replacement;
            VirtualProtect(addresses, sizeof *addresses, protection, &protection);
            return before;
        }
    }
    return NULL;
}
