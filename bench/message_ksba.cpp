// libksba reads and builds messages, and leaves the cryptography to libgcrypt. It stands here as a reader of signed
// data.
#include <gcrypt.h>
#include <ksba.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "bench/message_peers.h"

namespace bench {
namespace {

void check(gpg_error_t code) {
    if (code != 0)
        std::abort();
}

template <class T, void release(T)>
struct Release {
    void operator()(T object) const { release(object); }
};

template <class T, void release(T)>
using Owner = std::unique_ptr<std::remove_pointer_t<T>, Release<T, release>>;

using Message = Owner<ksba_cms_t, ksba_cms_release>;
using Reader = Owner<ksba_reader_t, ksba_reader_release>;
using Writer = Owner<ksba_writer_t, ksba_writer_release>;
using Certificate = Owner<ksba_cert_t, ksba_cert_release>;
using Digest = Owner<gcry_md_hd_t, gcry_md_close>;
using Expression = Owner<gcry_sexp_t, gcry_sexp_release>;

template <class T>
T made(gpg_error_t create(T*)) {
    T object = nullptr;
    check(create(&object));
    return object;
}

void hash(void* digest, const void* data, std::size_t length) {
    gcry_md_write(static_cast<gcry_md_hd_t>(digest), data, length);
}

Expression expression(ksba_sexp_t canonical) {
    gcry_sexp_t parsed = nullptr;
    check(gcry_sexp_sscan(&parsed, nullptr, reinterpret_cast<const char*>(canonical),
                          gcry_sexp_canon_len(canonical, 0, nullptr, nullptr)));
    ksba_free(canonical);
    return Expression(parsed);
}

// Reads the whole message; the content goes to the digest and the writer.
void parse(ksba_cms_t message, gcry_md_hd_t digest) {
    ksba_stop_reason_t stop = KSBA_SR_RUNNING;
    while (stop != KSBA_SR_READY) {
        check(ksba_cms_parse(message, &stop));
        if (stop == KSBA_SR_BEGIN_DATA)
            ksba_cms_set_hash_function(message, hash, digest);
        if (stop == KSBA_SR_END_DATA)
            ksba_cms_set_hash_function(message, nullptr, nullptr);
    }
}

bool isSigner(ksba_cert_t certificate, const char* issuer, ksba_const_sexp_t serial) {
    const std::unique_ptr<char, Release<void*, ksba_free>> name(ksba_cert_get_issuer(certificate, 0));
    const std::unique_ptr<unsigned char, Release<void*, ksba_free>> number(ksba_cert_get_serial(certificate));
    const std::size_t length = gcry_sexp_canon_len(number.get(), 0, nullptr, nullptr);
    return std::strcmp(name.get(), issuer) == 0 && length == gcry_sexp_canon_len(serial, 0, nullptr, nullptr) &&
           std::memcmp(number.get(), serial, length) == 0;
}

Certificate signerOf(ksba_cms_t message) {
    char* issuer = nullptr;
    ksba_sexp_t serial = nullptr;
    check(ksba_cms_get_issuer_serial(message, 0, &issuer, &serial));
    Certificate found;
    for (int i = 0; found == nullptr; ++i) {
        Certificate each(ksba_cms_get_cert(message, i));
        if (each == nullptr)
            std::abort();
        if (isSigner(each.get(), issuer, serial))
            found = std::move(each);
    }
    ksba_free(issuer);
    ksba_free(serial);
    return found;
}

void verifySignature(ksba_cms_t message, gcry_md_hd_t digest) {
    const Certificate signer = signerOf(message);
    const Expression key = expression(ksba_cert_get_public_key(signer.get()));
    const Expression signature = expression(ksba_cms_get_sig_val(message, 0));
    gcry_sexp_t hashed = nullptr;
    check(gcry_sexp_build(&hashed, nullptr, "(data (flags pkcs1) (hash sha1 %b))", 20,
                          gcry_md_read(digest, GCRY_MD_SHA1)));
    const Expression data(hashed);
    check(gcry_pk_verify(signature.get(), data.get(), key.get()));
}

std::size_t verify(const Bytes& der) {
    const Reader reader(made(ksba_reader_new));
    const Writer writer(made(ksba_writer_new));
    const Message message(made(ksba_cms_new));
    check(ksba_reader_set_mem(reader.get(), der.data(), der.size()));
    check(ksba_writer_set_mem(writer.get(), der.size()));
    check(ksba_cms_set_reader_writer(message.get(), reader.get(), writer.get()));
    gcry_md_hd_t digest = nullptr;
    check(gcry_md_open(&digest, GCRY_MD_SHA1, 0));
    const Digest owner(digest);
    parse(message.get(), digest);
    verifySignature(message.get(), digest);
    std::size_t length = 0;
    ksba_free(ksba_writer_snatch_mem(writer.get(), &length));
    return length;
}

}  // namespace

MessagePeer ksbaMessages(const MessageInputs& /*inputs*/) {
    gcry_check_version(nullptr);
    gcry_control(GCRYCTL_DISABLE_SECMEM);
    gcry_control(GCRYCTL_INITIALIZATION_FINISHED);
    return {"libksba", nullptr, verify, nullptr, nullptr};
}

}  // namespace bench
