// The making of choosers: on the token of the current module, or in software.
#ifndef VT_TOKEN_CHOOSER_OBJECT_H
#define VT_TOKEN_CHOOSER_OBJECT_H

#include "crypto/chooser.h"
#include "token/op.h"

// The work record: what ChooserOpenSession gives, and what createChooser was given.
struct CHOOSER_WORK {
    CK_SESSION_HANDLE session;
    CK_FUNCTION_LIST* functions;
    VT_P11_SELECTION selection;
};

int ChooserOpenSession(CHOOSER_WORK* work);
int CreateChooserObject(CHOOSER** chooser, CHOOSER_WORK* work);
int DestroyChooserObject(CHOOSER** chooser);

#endif
