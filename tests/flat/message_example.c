/* The example of docs/messages.md: what an authority answered with, opened. With a file name it reads a message from
 * there; without one it makes a data message of its own. */
#include <stdio.h>

#include "pki/flat/flat.h"

static PKCS_Blob readFile(const char* path) {
    PKCS_Blob blob = {NULL, 0};
    FILE* file = fopen(path, "rb");
    if (file != NULL) {
        blob.data = (uint8_t*)T_malloc((size_t)VT_GetFileLen(path));
        if (blob.data != NULL)
            blob.length = (uint32_t)fread(blob.data, 1, (size_t)VT_GetFileLen(path), file);
        fclose(file);
    }
    return blob;
}

int main(int argc, char** argv) {
    PKCS_Blob message = {NULL, 0};
    PKCS_Blob content = {NULL, 0};
    PKCS_Ctx* ctx = NULL;
    VT_List* certificates = NULL;
    const VT_List* node;
    uint8_t* leaf = NULL;
    uint32_t length = 0;
    int32_t result;

    if (argc > 1)
        message = readFile(argv[1]);
    /* example begin */
    result = PKCS_CreateCtx(&ctx, NULL);
    if (result == 0)
        result = VT_CreateList(&certificates);
    if (result == 0 && PKCS7_GetMsgType(ctx, &message) == PKCS7_SIGNED) {
        result = PKCS7_ReadSignedDataMsg(ctx, &message, PKCS7_ATTACHED, NULL, certificates, NULL, &content);
        if (result == 0)
            VT_Log("signed content of %u bytes\n", content.length);
        else
            VT_Log("not verified: %d\n", result);

        /* The certificates are there in either case; see which one issued no other. */
        for (node = certificates->next; node != NULL; node = node->next)
            VT_Log("a certificate of %u bytes\n", node->length);
        if (PKCS7_GetLeafCert(certificates, &leaf, &length) == 0)
            VT_PrintBuf("the leaf", leaf, length);
    }
    T_free(leaf);
    T_free(content.data);
    VT_DestroyList(&certificates);
    PKCS_DestroyCtx(&ctx);
    /* example end */
    T_free(message.data);
    return 0;
}
