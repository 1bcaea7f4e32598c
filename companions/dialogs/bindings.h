// What each entry of the dialog library is called with, and which row of the catalogue it edits.
#ifndef DIALOGS_BINDINGS_H
#define DIALOGS_BINDINGS_H

#include "hosts/catalogue/catalogue.h"

enum { MOST_SLOTS = 6 };

// A parameter's place: word nWord of what argument nArgument points to.
struct ParameterSlot {
    int nArgument;
    int nWord;
};

// Entries that serve several exports have a row for each, told apart by the last argument.
struct DialogBinding {
    const char *pEntry;
    int nArguments;
    int nNumber;  // the last argument; -1: none
    const char *pExport;
    int nSlots;  // the catalogue's first parameters; what else it has is the command line's own
    ParameterSlot slots[MOST_SLOTS];
    int nImage = 0, nSecondImage = -1;  // arguments
    bool bCrossed = false;              // masks with the two origin fields the other way round
};

extern const DialogBinding BINDINGS[];
extern const size_t BINDING_COUNT;

// Null: no such entry with that last argument.
const DialogBinding *FindBinding(const char *entry, const UINT_PTR *arguments, int count);

// The values that the arguments hold now, and back again; the rest of the catalogue's parameters
// as an export without them has it.
void ReadArguments(const DialogBinding *binding, const UINT_PTR *arguments, ParameterValue *values);
void WriteArguments(const DialogBinding *binding, const UINT_PTR *arguments,
                    const ParameterValue *values);

#endif
