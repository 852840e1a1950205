// SPDX-License-Identifier: BSD-3-Clause
#include <Veltrand/Core/MonoCypher.h>

#include <gtest/gtest.h>
#include <string_view>

namespace Veltrand::Cryptography::MonoCypher {

namespace {

Key testKey() {
    Key key{};
    for (std::size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<unsigned char>(0x80 + i);
    return key;
}

ByteBufferView view(std::string_view text) {
    return {text.data(), text.size()};
}

} // namespace

TEST(MonoCypher, DeciphersThePublishedTestVector) {
    // XChaCha20-Poly1305 without additional data, key 80 81 ..., nonce 40 41 ...: the cipher text is that of
    // the draft's example, whose tag alone depends on additional data.
    const std::string_view text =
        "Ladies and Gentlemen of the class of '99: If I could offer you only one tip for "
        "the future, sunscreen would be it.";
    Nonce nonce{};
    for (std::size_t i = 0; i < nonce.size(); ++i)
        nonce[i] = static_cast<unsigned char>(0x40 + i);
    const ByteBuffer payload = encrypt(view(text), testKey(), nonce);
    ASSERT_EQ(payload.size(), 24 + text.size() + 16);
    const unsigned char expected[] = {0xBD, 0x6D, 0x17, 0x9D, 0x3E, 0x83, 0xD4, 0x3B};
    EXPECT_EQ(ByteBufferView(payload.data() + 24, sizeof expected),
              ByteBufferView(expected, sizeof expected));
    EXPECT_EQ(*decrypt(payload, testKey()), view(text));
}

TEST(MonoCypher, YieldsNothingForAnyChange) {
    const std::string_view text = "void main() {}";
    const ByteBuffer payload = encrypt(view(text), testKey());
    EXPECT_EQ(*decrypt(payload, testKey()), view(text));
    for (std::size_t place = 0; place < payload.size(); ++place) {
        ByteBuffer changed = payload;
        changed.data()[place] ^= std::byte{1};
        EXPECT_FALSE(decrypt(changed, testKey())) << place;
        EXPECT_FALSE(decrypt({payload.data(), place}, testKey())) << place;
    }
    Key otherKey = testKey();
    otherKey[31] ^= 1;
    EXPECT_FALSE(decrypt(payload, otherKey));
    // The nonce follows from the content and the key alone.
    const auto nonce = [](const ByteBuffer& p) { return ByteBufferView(p.data(), 24).toString(); };
    EXPECT_EQ(payload, encrypt(view(text), testKey()));
    EXPECT_NE(nonce(payload), nonce(encrypt(view("void main() { }"), testKey())));
    EXPECT_NE(nonce(payload), nonce(encrypt(view(text), otherKey)));
}

} // namespace Veltrand::Cryptography::MonoCypher
