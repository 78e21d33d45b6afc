/* client <certificate.der>: the public key of a certificate, in C and by the flat functions alone. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "pki/flat/flat.h"

static int readFile(const char* name, PKCS_Blob* bytes) {
    static uint8_t buffer[8192];
    FILE* file = fopen(name, "rb");
    if (file == NULL)
        return 1;
    bytes->data = buffer;
    bytes->length = (uint32_t)fread(buffer, 1, sizeof buffer, file);
    fclose(file);
    return bytes->length == 0;
}

static void printHex(const char* name, const PKCS_Blob* number) {
    uint32_t i;
    printf("%s: ", name);
    for (i = 0; i < number->length; ++i)
        printf("%02X", (unsigned)number->data[i]);
    printf("\n");
}

int main(int argc, char** argv) {
    PKCS_Blob certificate;
    PKCS_Settings settings;
    PKCS_Ctx* context = NULL;
    PKCS_PubKey key;
    int32_t code;
    if (argc != 2 || readFile(argv[1], &certificate) != 0)
        return 2;
    memset(&settings, 0, sizeof settings);
    PKCS_InitPubKey(&key);
    printf("version: %s\n", PKCS_GetVersion());
    code = PKCS_CreateCtx(&context, &settings);
    if (code == 0)
        code = VT_GetPublicKeyFromCert(context, &certificate, &key);
    if (code == 0) {
        printHex("modulus", &key.modulus);
        printHex("exponent", &key.publicExponent);
    }
    PKCS_FreePubKey(&key);
    PKCS_DestroyCtx(&context);
    return code == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
