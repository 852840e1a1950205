// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <Veltrand/Core/ByteBuffer.h>
#include <Veltrand/Core/Export.h>

#include <array>
#include <optional>

/// Authenticated encryption with XChaCha20-Poly1305 (the IETF construction). A payload is the nonce, the
/// enciphered content and the tag, in this order. Every operation may be called from any thread.
namespace Veltrand::Cryptography::MonoCypher {

/// Secret; as random as can be.
using Key = std::array<unsigned char, 32>;
/// Not secret: it is the beginning of the payload.
using Nonce = std::array<unsigned char, 24>;

/// Enciphers @p content under a nonce that is a keyed hash of it: equal content and key give equal payloads,
/// so builds are reproducible, and an observer learns which payloads hold the same content. Throws
/// `std::runtime_error` when the cipher cannot be started.
[[nodiscard]] VELTRAND_CORE_API ByteBuffer encrypt(ByteBufferView content, const Key& key);

/// Enciphers @p content under @p nonce, which must not be used with this key for any other content.
[[nodiscard]] VELTRAND_CORE_API ByteBuffer encrypt(ByteBufferView content, const Key& key,
                                                   const Nonce& nonce);

/// The content of @p payload; nothing when the key is another one or any byte was changed, added or lost.
[[nodiscard]] VELTRAND_CORE_API std::optional<ByteBuffer> decrypt(ByteBufferView payload, const Key& key);

} // namespace Veltrand::Cryptography::MonoCypher
