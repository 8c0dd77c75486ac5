/* SPDX-License-Identifier: Apache-2.0 */
// The registers of the loops below are the CRC before its last inversion. A byte enters at the low
// end: the polynomial is bit-reversed.
#include "runtime/log/crc32c.h"

#include <array>
#include <cstddef>
#include <cstring>

#if defined(__x86_64__)
#define TARNBASE_CRC_TARGET __attribute__((target("sse4.2")))
#elif defined(__aarch64__) && defined(__AARCH64EL__)
#include <arm_acle.h>
#include <sys/auxv.h>
#if defined(__clang__)
#define TARNBASE_CRC_TARGET __attribute__((target("crc")))
#else
#define TARNBASE_CRC_TARGET __attribute__((target("+crc")))
#endif
#endif

namespace tarnbase::runtime {

namespace {

using Table = std::array<std::uint32_t, 256>;

constexpr std::uint32_t polynomial = 0x82f63b78;

constexpr Table byte_table() {
    Table table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t crc = i;
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? polynomial : 0);
        table[i] = crc;
    }
    return table;
}

// Table n: the register after a byte and n bytes of zeros.
constexpr std::array<Table, 8> slices = [] {
    std::array<Table, 8> tables{};
    tables[0] = byte_table();
    for (std::size_t n = 1; n < tables.size(); ++n) {
        for (std::size_t i = 0; i < 256; ++i) {
            const std::uint32_t crc = tables[n - 1][i];
            tables[n][i] = (crc >> 8) ^ tables[0][crc & 0xff];
        }
    }
    return tables;
}();

std::uint32_t low_word(const char *bytes) {
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i) {
        word |= std::uint32_t{static_cast<std::uint8_t>(bytes[i])} << (8 * i);
    }
    return word;
}

}  // namespace

std::uint32_t crc32c_by_table(std::span<const char> bytes, std::uint32_t before) {
    std::uint32_t crc = ~before;
    const char *at = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= 8; at += 8, left -= 8) {
        const std::uint32_t low = crc ^ low_word(at);
        const std::uint32_t high = low_word(at + 4);
        crc = slices[7][low & 0xff] ^ slices[6][(low >> 8) & 0xff] ^ slices[5][(low >> 16) & 0xff] ^
              slices[4][low >> 24] ^ slices[3][high & 0xff] ^ slices[2][(high >> 8) & 0xff] ^
              slices[1][(high >> 16) & 0xff] ^ slices[0][high >> 24];
    }
    for (; left != 0; ++at, --left) {
        crc = (crc >> 8) ^ slices[0][(crc ^ static_cast<std::uint8_t>(*at)) & 0xff];
    }
    return ~crc;
}

#if defined(TARNBASE_CRC_TARGET)

namespace {

#if defined(__x86_64__)
TARNBASE_CRC_TARGET inline std::uint32_t add_word(std::uint32_t crc, const char *bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return static_cast<std::uint32_t>(__builtin_ia32_crc32di(crc, word));
}

TARNBASE_CRC_TARGET inline std::uint32_t add_byte(std::uint32_t crc, char byte) {
    return __builtin_ia32_crc32qi(crc, static_cast<std::uint8_t>(byte));
}
#else
TARNBASE_CRC_TARGET inline std::uint32_t add_word(std::uint32_t crc, const char *bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return __crc32cd(crc, word);
}

TARNBASE_CRC_TARGET inline std::uint32_t add_byte(std::uint32_t crc, char byte) {
    return __crc32cb(crc, static_cast<std::uint8_t>(byte));
}
#endif

// The register after `count` bytes of zeros: each of its four bytes has a part in that, and the
// parts are independent.
class ZeroBytes {
 public:
    constexpr explicit ZeroBytes(std::size_t count) : parts_{} {
        constexpr Table table = byte_table();
        std::array<std::uint32_t, 32> of_bit{};
        for (std::size_t bit = 0; bit < 32; ++bit) {
            std::uint32_t crc = std::uint32_t{1} << bit;
            for (std::size_t i = 0; i < count; ++i) crc = (crc >> 8) ^ table[crc & 0xff];
            of_bit[bit] = crc;
        }
        for (std::size_t part = 0; part < 4; ++part) {
            for (std::size_t value = 0; value < 256; ++value) {
                std::uint32_t crc = 0;
                for (std::size_t bit = 0; bit < 8; ++bit) {
                    if ((value >> bit & 1) != 0) crc ^= of_bit[8 * part + bit];
                }
                parts_[part][value] = crc;
            }
        }
    }

    std::uint32_t after(std::uint32_t crc) const {
        return parts_[0][crc & 0xff] ^ parts_[1][(crc >> 8) & 0xff] ^
               parts_[2][(crc >> 16) & 0xff] ^ parts_[3][crc >> 24];
    }

 private:
    std::array<Table, 4> parts_;
};

// The instruction takes three cycles and a new one can begin in each, so three parts of the bytes
// are computed at once. The lengths suit a page of a checkpoint and a frame.
constexpr std::size_t long_part = 2048;
constexpr std::size_t short_part = 128;
constexpr ZeroBytes long_zeros(long_part);
constexpr ZeroBytes short_zeros(short_part);

template <std::size_t part>
TARNBASE_CRC_TARGET inline std::uint32_t add_three_parts(std::uint32_t crc, const char *bytes,
                                                         const ZeroBytes &zeros) {
    std::uint32_t second = 0;
    std::uint32_t third = 0;
    for (std::size_t i = 0; i < part; i += 8) {
        crc = add_word(crc, bytes + i);
        second = add_word(second, bytes + part + i);
        third = add_word(third, bytes + 2 * part + i);
    }
    return zeros.after(zeros.after(crc) ^ second) ^ third;
}

}  // namespace

TARNBASE_CRC_TARGET std::uint32_t crc32c_by_instruction(std::span<const char> bytes,
                                                        std::uint32_t before) {
    std::uint32_t crc = ~before;
    const char *at = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= 3 * long_part; at += 3 * long_part, left -= 3 * long_part) {
        crc = add_three_parts<long_part>(crc, at, long_zeros);
    }
    for (; left >= 3 * short_part; at += 3 * short_part, left -= 3 * short_part) {
        crc = add_three_parts<short_part>(crc, at, short_zeros);
    }
    for (; left >= 8; at += 8, left -= 8) crc = add_word(crc, at);
    for (; left != 0; ++at, --left) crc = add_byte(crc, *at);
    return ~crc;
}

bool has_crc32c_instruction() {
#if defined(__x86_64__)
    return __builtin_cpu_supports("sse4.2") != 0;
#else
    constexpr unsigned long crc_instructions = 1UL << 7;  // HWCAP_CRC32
    return (::getauxval(AT_HWCAP) & crc_instructions) != 0;
#endif
}

#else

std::uint32_t crc32c_by_instruction(std::span<const char> bytes, std::uint32_t before) {
    return crc32c_by_table(bytes, before);
}

bool has_crc32c_instruction() { return false; }

#endif

std::uint32_t crc32c(std::span<const char> bytes, std::uint32_t before) {
    static const bool by_instruction = has_crc32c_instruction();
    return by_instruction ? crc32c_by_instruction(bytes, before) : crc32c_by_table(bytes, before);
}

}  // namespace tarnbase::runtime
