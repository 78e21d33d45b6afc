// The making of choosers (crypto/chooser.h): on the token of the current module, or in software.
//
// All on the thread that loads and unloads modules (module.h). A chooser does not know its module: destroy it before
// the module is unloaded.
#ifndef VT_TOKEN_CHOOSER_OBJECT_H
#define VT_TOKEN_CHOOSER_OBJECT_H

#include "crypto/chooser.h"
#include "token/op.h"

// The work record: what ChooserOpenSession gives, and what createChooser was given.
struct CHOOSER_WORK {
    CK_SESSION_HANDLE session;    // open in the module
    CK_FUNCTION_LIST* functions;  // the module's
    VT_P11_SELECTION selection;   // what createChooser was given
};

// ChooserOpenSession opens a session for reading and writing on the token of the current module, if there is one and
// the selection has both texts, which serve as a switch and are not read. The record is borrowed; session and functions
// are what it gives, and are cleared by a session that the module refuses.
//
//     0     session and functions are set
//     1     go to software: no module is loaded, or a text is absent
//     -2    a module is loaded, but the record is null
//     -17   the module has no C_GetFunctionList any more
//     >0    the module's code. A module that answers CKR_CANCEL, which is 1, sends its callers to software.
int ChooserOpenSession(CHOOSER_WORK* work);

// CreateChooserObject makes a chooser by what ChooserOpenSession gave: for 1 one of the software path with a table of
// zeros, for 0 one of the token path. It is the caller's, to be freed by DestroyChooserObject. 0; -1; -2 for a null
// argument; or another result of ChooserOpenSession. After a failure the field is as it was, and no session is open.
int CreateChooserObject(CHOOSER** chooser, CHOOSER_WORK* work);

// DestroyChooserObject closes the session of a token's chooser, frees the chooser and makes the field null. 0; -2 for a
// null argument or a field that is null; or the code of C_CloseSession, when nothing is freed and the chooser remains
// the caller's.
int DestroyChooserObject(CHOOSER** chooser);

// FreeChooser frees a chooser of either kind, without a word to its module. Null is accepted.
void FreeChooser(CHOOSER* chooser);

#endif
