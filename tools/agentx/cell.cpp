// SPDX-License-Identifier: Apache-2.0
#include "agentx/cell.h"

#include <algorithm>
#include <chrono>

#include "base/failure.h"
#include "tarnbase/tarn/address.hpp"

namespace agentx {
namespace {

using tarnctl::Kind;
using tarnctl::Record;
using tarnctl::Value;

// The values of TruthValue and InetAddressType.
constexpr uint64_t is_true = 1;
constexpr uint64_t is_false = 2;
constexpr uint64_t unknown_type = 0;
constexpr uint64_t ipv4_type = 1;
constexpr uint64_t ipv6_type = 2;

tarnctl::Column field_named(const tarnctl::Table &table, std::string_view path, bool in_key) {
    for (tarnctl::Column &each : tarnctl::columns_of(table)) {
        if (each.in_key_object == in_key && each.name() == path) return each;
    }
    throw tarnctl::Failure(tarnctl::Exit::store,
                           std::string(table.name) + " has no field " + std::string(path));
}

tarn::address address_of(const Value &value) {
    if (value.field().kind == Kind::address)
        return tarn::address(*static_cast<const ip_address *>(value.object()));
    const auto parsed = tarn::address::try_parse(value.text());
    return parsed ? *parsed : tarn::address();
}

uint64_t type_of(const tarn::address &address) {
    if (address.family() == KEL_ADDRESS_IPV4) return ipv4_type;
    return address.family() == KEL_ADDRESS_IPV6 ? ipv6_type : unknown_type;
}

int digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

std::string decimal(const Value &value) {
    const uint64_t number = value.number();
    return value.field().is_signed() ? std::to_string(static_cast<int64_t>(number))
                                     : std::to_string(number);
}

// DateAndTime: the year in two bytes, then a byte each, in the end "+0:0" from UTC.
std::string date_of(std::chrono::sys_time<std::chrono::nanoseconds> time) {
    using namespace std::chrono;
    const sys_days day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(floor<seconds>(time - day));
    const auto tenths = (time - floor<seconds>(time)) / 100ms;
    const auto year = static_cast<int>(date.year());
    std::string bytes;
    for (const auto each :
         {static_cast<long>(year >> 8), static_cast<long>(year & 255),
          static_cast<long>(static_cast<unsigned>(date.month())),
          static_cast<long>(static_cast<unsigned>(date.day())), clock.hours().count(),
          clock.minutes().count(), clock.seconds().count(), static_cast<long>(tenths)})
        bytes += static_cast<char>(each);
    return bytes + std::string("+\0\0", 3);
}

}  // namespace

Cell Cell::of_number(Syntax syntax, uint64_t number) {
    switch (syntax) {
        case Syntax::counter:
            return {Type::counter, number & UINT32_MAX};
        case Syntax::counter64:
            return {Type::counter64, number};
        case Syntax::unsigned_number:
        case Syntax::assigned:
            return {Type::unsigned_number, number};
        default:
            return {Type::integer, number};
    }
}

std::optional<std::string> mac_address(std::string_view text) {
    std::string digits;
    char between = 0;
    for (const char c : text) {
        if (digit(c) >= 0) {
            digits += c;
            continue;
        }
        if ((c != ':' && c != '-' && c != '.') || (between != 0 && c != between)) return {};
        between = c;
        if (digits.empty() || digits.size() % (c == '.' ? 4 : 2) != 0) return {};
    }
    if (digits.size() != 12) return {};
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(digit(digits[i]) * 16 + digit(digits[i + 1]));
    return bytes;
}

ColumnReader::ColumnReader(const tarnctl::Table &table, const MapColumn &column)
    : column_(&column), field_(field_named(table, column.path, column.in_key)) {
    if (!column.fraction.empty()) fraction_ = field_named(table, column.fraction, column.in_key);
}

std::optional<Cell> ColumnReader::cell(const Record &record) const {
    const Value value = record.value(field_);
    if (!value.present()) return std::nullopt;
    switch (column_->syntax) {
        case Syntax::decimal:
            return Cell::of_octets(decimal(value));
        case Syntax::text:
        case Syntax::assigned:
            return Cell::of_octets(first_bytes(value.bytes()));
        case Syntax::date:
            return date_cell(value, record);
        case Syntax::address_type:
        case Syntax::address:
            return address_cell(value);
        case Syntax::mac:
            if (auto bytes = mac_address(value.bytes())) return Cell::of_octets(*bytes);
            return std::nullopt;
        default:
            return number_cell(value.number());
    }
}

std::optional<Cell> ColumnReader::number_cell(uint64_t number) const {
    const auto value = static_cast<int64_t>(number);
    if (column_->syntax == Syntax::truth) number = number != 0 ? is_true : is_false;
    else if (value < column_->low || value > column_->high) return std::nullopt;
    return Cell::of_number(column_->syntax, number);
}

std::optional<Cell> ColumnReader::address_cell(const Value &value) const {
    const tarn::address address = address_of(value);
    if (column_->syntax == Syntax::address_type)
        return Cell::of_number(column_->syntax, type_of(address));
    return Cell::of_octets({reinterpret_cast<const char *>(address.data()), address.size()});
}

Cell ColumnReader::date_cell(const Value &seconds, const Record &record) const {
    const auto whole = std::chrono::seconds(static_cast<int64_t>(seconds.number()));
    const Value fraction = record.value(*fraction_);
    const auto rest = std::chrono::nanoseconds(
        std::min<uint64_t>(fraction.present() ? fraction.number() : 0, 999'999'999));
    return Cell::of_octets(date_of(std::chrono::sys_time<std::chrono::nanoseconds>(whole + rest)));
}

std::string ColumnReader::first_bytes(std::string_view text) const {
    const auto most = static_cast<uint64_t>(column_->high);
    return std::string(text.substr(0, std::min<uint64_t>(text.size(), most)));
}

}  // namespace agentx
