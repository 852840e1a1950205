// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/MonoCypher.h>

#include <algorithm>
#include <sodium.h>
#include <stdexcept>
#include <tuple>

namespace Veltrand::Cryptography::MonoCypher {

namespace {

constexpr std::size_t tagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr std::size_t overhead = std::tuple_size_v<Nonce> + tagSize;

static_assert(std::tuple_size_v<Key> == crypto_aead_xchacha20poly1305_ietf_KEYBYTES);
static_assert(std::tuple_size_v<Nonce> == crypto_aead_xchacha20poly1305_ietf_NPUBBYTES);

bool isReady() {
    static const bool ready = sodium_init() >= 0;
    return ready;
}

void requireReady() {
    if (!isReady())
        throw std::runtime_error("Could not start the cipher.");
}

const unsigned char* bytes(const std::byte* data) {
    return reinterpret_cast<const unsigned char*>(data);
}

unsigned char* bytes(std::byte* data) {
    return reinterpret_cast<unsigned char*>(data);
}

} // namespace

ByteBuffer encrypt(ByteBufferView content, const Key& key) {
    requireReady();
    // The personalisation keeps this hash apart from every other use of the key.
    constexpr std::array<unsigned char, crypto_generichash_blake2b_PERSONALBYTES> purpose{
        'V', 'e', 'l', 't', 'r', 'a', 'n', 'd', ' ', 'n', 'o', 'n', 'c', 'e'};
    Nonce nonce{};
    if (crypto_generichash_blake2b_salt_personal(nonce.data(), nonce.size(), bytes(content.data()),
                                                 content.size(), key.data(), key.size(), nullptr,
                                                 purpose.data()) != 0)
        throw std::runtime_error("Could not derive a nonce.");
    return encrypt(content, key, nonce);
}

ByteBuffer encrypt(ByteBufferView content, const Key& key, const Nonce& nonce) {
    requireReady();
    ByteBuffer payload(content.size() + overhead);
    unsigned char* const out = bytes(payload.data());
    std::copy(nonce.begin(), nonce.end(), out);
    if (crypto_aead_xchacha20poly1305_ietf_encrypt(out + nonce.size(), nullptr, bytes(content.data()),
                                                   content.size(), nullptr, 0, nullptr, nonce.data(),
                                                   key.data()) != 0)
        throw std::runtime_error("Could not encipher the content.");
    return payload;
}

std::optional<ByteBuffer> decrypt(ByteBufferView payload, const Key& key) {
    if (payload.size() < overhead || !isReady())
        return std::nullopt;
    const unsigned char* const nonce = bytes(payload.data());
    ByteBuffer content(payload.size() - overhead);
    if (crypto_aead_xchacha20poly1305_ietf_decrypt(
            bytes(content.data()), nullptr, nullptr, nonce + std::tuple_size_v<Nonce>,
            payload.size() - std::tuple_size_v<Nonce>, nullptr, 0, nonce, key.data()) != 0)
        return std::nullopt;
    return content;
}

} // namespace Veltrand::Cryptography::MonoCypher
