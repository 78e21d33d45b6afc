/* A caller in C that knows the public header alone: create, read, free. */
#include "pki/flat/flat.h"

static int failures = 0;

static void check(int holds, const char* what) {
    if (holds)
        return;
    VT_Log("failed: %s\n", what);
    ++failures;
}

static void useMemory(void) {
    char* text = (char*)T_malloc(5);
    check(text != NULL && text[5] == 0, "T_malloc gives zeros");
    T_strcpy(text, "12345");
    check(T_strlen(text) == 5, "T_strlen");
    text = (char*)T_realloc(text, 20);
    check(text != NULL && T_strcmp(text, "12345") == 0, "T_realloc keeps the text");
    T_memset(text, 'x', 1);
    T_memmove(text + 1, text, 2);
    T_memcpy(text + 3, "ab", 2);
    check(T_memcmp(text, "xx2ab", 5) == 0, "the bytes");
    T_free(text);
}

static void useRecords(void) {
    PKCS_Alg alg;
    PKCS_Key key;
    PKCS_PubKey publicKey;
    PKCS_PriKey privateKey;
    check(PKCS_InitAlg(&alg) == 0 && alg.iv == NULL && alg.effectiveBits == 0, "PKCS_InitAlg");
    check(PKCS_InitKey(&key) == 0 && key.data == NULL && key.keyLength == 0, "PKCS_InitKey");
    check(PKCS_InitPubKey(&publicKey) == 0 && publicKey.publicExponent.length == 0, "PKCS_InitPubKey");
    check(PKCS_InitPriKey(&privateKey) == 0 && privateKey.coefficient.data == NULL, "PKCS_InitPriKey");
    alg.iv = (uint8_t*)T_malloc(8);
    key.data = (uint8_t*)T_malloc(24);
    publicKey.modulus.data = (uint8_t*)T_malloc(64);
    privateKey.prime1.data = (uint8_t*)T_malloc(32);
    check(PKCS_FreeAlg(&alg) == 0, "PKCS_FreeAlg");
    check(PKCS_FreeKey(&key) == 0, "PKCS_FreeKey");
    check(PKCS_FreePubKey(&publicKey) == 0, "PKCS_FreePubKey");
    check(PKCS_FreePriKey(&privateKey) == 0, "PKCS_FreePriKey");
}

static void useList(void) {
    static const uint8_t data[] = {1, 2, 3};
    uint8_t copy[3] = {0};
    uint32_t length = 0;
    uint32_t total = 0;
    VT_List* list = NULL;
    check(VT_CreateList(&list) == 0, "VT_CreateList");
    check(VT_AddListNode(list, data, 3) == 0, "VT_AddListNode");
    check(VT_AddListNode(list, data, 0) == VT_LIST_E_ARGUMENT, "an empty node");
    check(VT_GetListNodeTotal(list, &total) == 0 && total == 1, "VT_GetListNodeTotal");
    check(VT_GetListNodeByIndex(list, 0, copy, &length) == 0 && length == 3, "VT_GetListNodeByIndex");
    check(T_memcmp(copy, data, 3) == 0, "the node's bytes");
    check(list->next->next == NULL, "the list ends");
    check(VT_DestroyList(&list) == 0, "VT_DestroyList");
}

static void useKey(void) {
    uint8_t blob[20 + 64] = {6, 2, 0, 0, 0, 0x24, 0, 0, 'R', 'S', 'A', '1', 0, 2, 0, 0, 1, 0, 1, 0};
    uint8_t der[128];
    uint32_t length = 0;
    PKCS_PubKey key;
    blob[83] = 0xC1;
    check(VT_MSPubKeyToVPK(NULL, blob, &key) == 0, "VT_MSPubKeyToVPK");
    check(key.modulus.length == 64 && key.modulus.data[0] == 0xC1, "the modulus");
    check(key.publicExponent.length == 3, "the exponent");
    PKCS_FreePubKey(&key);
    check(VT_MSPubKeyToP1Der(blob, NULL, &length) == 0 && length == 74, "the DER's length");
    length = sizeof der;
    check(VT_MSPubKeyToP1Der(blob, der, &length) == 0 && der[0] == 0x30, "VT_MSPubKeyToP1Der");
    length = 1;
    check(VT_MSPubKeyToP1Der(blob, der, &length) == VT_E_BUFFER_TOO_SMALL, "too small a buffer");
    VT_PrintBuf("RSAPublicKey", der, 74);
}

static void useLibrary(void) {
    void* library = VT_LoadLibrary("no such library");
    check(library == NULL && VT_FreeLibrary(library) == 0, "VT_LoadLibrary");
    check(VT_GetFuncAddress(library, "name") == NULL, "VT_GetFuncAddress");
    check(VT_GetFileLen("no such file") == 0, "VT_GetFileLen");
}

static void useMessages(void) {
    uint8_t text[] = "text";
    PKCS_Blob data = {text, 4};
    PKCS_Blob message = {NULL, 0};
    PKCS_Blob back = {NULL, 0};
    PKCS_Ctx* ctx = NULL;
    PKCS_Settings settings = {0, NULL, 0, NULL, 0, 0};
    uint8_t* leaf = NULL;
    uint32_t length = 0;
    check(T_strlen(PKCS_GetVersion()) > 30, "PKCS_GetVersion");
    check(PKCS_Initialize(NULL, NULL, NULL) == 0 && PKCS_Finalize() == 0, "PKCS_Initialize");
    check(PKCS_CreateCtx(&ctx, &settings) == 0 && ctx->chooserCreated == 1, "PKCS_CreateCtx");
    check(PKCS7_WriteDataMsg(ctx, &data, &message) == 0, "PKCS7_WriteDataMsg");
    check(PKCS7_GetMsgType(ctx, &message) == PKCS7_DATA, "PKCS7_GetMsgType");
    check(PKCS7_ReadDataMsg(ctx, &message, &back) == 0, "PKCS7_ReadDataMsg");
    check(T_strcmp((const char*)back.data, "text") == 0, "the data again");
    check(PKCS7_ReadSignedDataMsg(ctx, &message, PKCS7_ATTACHED, NULL, NULL, NULL, &back) == -1009,
          "PKCS7_ReadSignedDataMsg");
    check(PKCS7_GetLeafCert(NULL, &leaf, &length) == VT_E_NO_CERTIFICATES, "PKCS7_GetLeafCert");
    T_free(message.data);
    T_free(back.data);
    check(PKCS_DestroyCtx(&ctx) == 0 && ctx == NULL, "PKCS_DestroyCtx");
}

int main(void) {
    useMemory();
    useRecords();
    useList();
    useKey();
    useLibrary();
    useMessages();
    return failures == 0 ? 0 : 1;
}
