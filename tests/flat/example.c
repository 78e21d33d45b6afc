/* The example of docs/flat.md: a list goes round once, and a key blob becomes PKCS#1 DER. */
#include "pki/flat/flat.h"

/* A public key as a provider exports it: 512 bits, exponent 65537. */
static void fillBlob(uint8_t* blob) {
    static const uint8_t header[] = {6, 2, 0, 0, 0, 0x24, 0, 0, 'R', 'S', 'A', '1', 0, 2, 0, 0, 1, 0, 1, 0};
    T_memcpy(blob, header, sizeof header);
    T_memset(blob + sizeof header, 0xC5, 64);
}

int main(void) {
    uint8_t blob[20 + 64];
    uint8_t* der;
    uint32_t length = 0;
    VT_List* list = NULL;
    int32_t result;
    fillBlob(blob);
    /* example begin */
    /* Ask for the length, then for the bytes. */
    result = VT_MSPubKeyToP1Der(blob, NULL, &length);
    if (result != 0)
        return 1;
    der = (uint8_t*)T_malloc(length);
    if (der == NULL)
        return 1;
    result = VT_MSPubKeyToP1Der(blob, der, &length);

    /* A list owns copies of what is added; give it back whole. */
    if (result == 0)
        result = VT_CreateList(&list);
    if (result == 0)
        result = VT_AddListNode(list, der, length);
    T_free(der);
    if (result == 0)
        VT_PrintBuf("key", list->next->data, list->next->length);
    VT_DestroyList(&list);
    /* example end */
    return result == 0 ? 0 : 1;
}
