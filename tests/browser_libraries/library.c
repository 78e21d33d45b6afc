/* The libraries of a browser, for tests on Windows. Built four times, with the exports that its name promises: nspr4,
 * nss3, smime3, and one without any that stands for the rest.
 *
 * Where the variable VT_FAKE_NSS holds the address of struct hooks (in hexadecimal), each function is the test's own,
 * and loading and freeing are told. Otherwise the key slot holds one certificate, the file "certificate.der" of the
 * profile.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

typedef void (*function)(void);

struct hooks {
    function (*find)(const char* name);
    void (*note)(const char* event, const char* library);
};
static const struct hooks* hooks;

/* An export that goes on where its target leads, arguments and stack as they are. */
#define EXPORT(name)                                               \
    function target_##name = (function)name##_alone;               \
    __declspec(dllexport) __attribute__((naked)) void name(void) { \
        __asm__("jmp *_target_" #name);                            \
    }
#define HOOK(name) target_##name = hooks->find(#name)

#if defined(VT_NSPR)

static void PR_Init_alone(void) {}
static int PR_Cleanup_alone(void) {
    return 0;
}
EXPORT(PR_Init)
EXPORT(PR_Cleanup)

static void hook_all(void) {
    HOOK(PR_Init);
    HOOK(PR_Cleanup);
}

#elif defined(VT_NSS) || defined(VT_SMIME)

struct certificate {
    void* arena;
};

/* Stands for the arena that NSS would keep for these bytes. */
static void* arena_of(const unsigned char* bytes, int size) {
    unsigned long hash = 2166136261UL;
    for (int i = 0; i < size; ++i)
        hash = (hash ^ bytes[i]) * 16777619UL;
    return (void*)hash;
}

#if defined(VT_NSS)

struct node {
    struct node* next;
    struct node* previous;
    struct certificate* certificate;
};

static struct certificate stored;
static struct node only, head;

static int NSS_Initialize_alone(const char* folder, const char* cert, const char* key, const char* db, unsigned flags) {
    (void)cert, (void)key, (void)db, (void)flags;
    char path[MAX_PATH * 2];
    static unsigned char bytes[65536];
    snprintf(path, sizeof path, "%s\\certificate.der", folder);
    FILE* file = fopen(path, "rb");
    if (file == NULL)
        return -1;
    stored.arena = arena_of(bytes, (int)fread(bytes, 1, sizeof bytes, file));
    fclose(file);
    return 0;
}
static void* PK11_GetInternalKeySlot_alone(void) {
    return &stored;
}
static struct node* PK11_ListCertsInSlot_alone(void* slot) {
    head.next = head.previous = &only;
    only.next = only.previous = &head;
    only.certificate = (struct certificate*)slot;
    return &head;
}
static void nothing(void) {}
#define NSS_Init_alone nothing
#define NSS_Shutdown_alone nothing
#define CERT_GetDefaultCertDB_alone nothing
#define CERT_DestroyCertificate_alone nothing
#define PK11_FreeSlot_alone nothing
#define PK11_ImportCert_alone nothing
#define PORT_ZAlloc_alone nothing
#define PORT_Free_alone nothing
#define PORT_GetError_alone nothing
EXPORT(NSS_Init)
EXPORT(NSS_Initialize)
EXPORT(NSS_Shutdown)
EXPORT(PK11_GetInternalKeySlot)
EXPORT(PK11_ListCertsInSlot)
EXPORT(CERT_GetDefaultCertDB)
EXPORT(CERT_DestroyCertificate)
EXPORT(PK11_FreeSlot)
EXPORT(PK11_ImportCert)
EXPORT(PORT_ZAlloc)
EXPORT(PORT_Free)
EXPORT(PORT_GetError)

static void hook_all(void) {
    HOOK(NSS_Init);
    HOOK(NSS_Initialize);
    HOOK(NSS_Shutdown);
    HOOK(PK11_GetInternalKeySlot);
    HOOK(PK11_ListCertsInSlot);
    HOOK(CERT_GetDefaultCertDB);
    HOOK(CERT_DestroyCertificate);
    HOOK(PK11_FreeSlot);
    HOOK(PK11_ImportCert);
    HOOK(PORT_ZAlloc);
    HOOK(PORT_Free);
    HOOK(PORT_GetError);
}

#else

static struct certificate* CERT_DecodeCertFromPackage_alone(unsigned char* bytes, int size) {
    static struct certificate decoded;
    decoded.arena = arena_of(bytes, size);
    return size > 0 && bytes[0] == 0x30 ? &decoded : NULL;
}
EXPORT(CERT_DecodeCertFromPackage)

static void hook_all(void) {
    HOOK(CERT_DecodeCertFromPackage);
}

#endif

#else

static void hook_all(void) {}

#endif

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    static char name[MAX_PATH];
    if (reason == DLL_PROCESS_ATTACH) {
        char address[32];
        if (GetEnvironmentVariableA("VT_FAKE_NSS", address, sizeof address) != 0)
            hooks = (const struct hooks*)strtoul(address, NULL, 16);
        GetModuleFileNameA(instance, name, sizeof name);
    }
    if (hooks == NULL)
        return TRUE;
    if (reason == DLL_PROCESS_ATTACH) {
        hook_all();
        hooks->note("load", strrchr(name, '\\') + 1);
    }
    /* Not at the process's end, where nobody is left to be told. */
    if (reason == DLL_PROCESS_DETACH && reserved == NULL)
        hooks->note("free", strrchr(name, '\\') + 1);
    return TRUE;
}
