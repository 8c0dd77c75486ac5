// SPDX-License-Identifier: Apache-2.0
// The structures and the enumeration of the tests' schema.
#include <vector>

#include "tests/behaviour/fault/kind_macros.h"
#include "tests/behaviour/fault/kind_parts.h"

namespace tarn::test {

namespace {

ip_address address_of(u32 set) {
    const u8 bytes[16] = {10, 0, 0, static_cast<u8>(set + 1)};
    ip_address address = {};
    ip_address_refer(&address, set == 0 ? KEL_ADDRESS_IPV4 : KEL_ADDRESS_IPV6, bytes);
    return address;
}

void fill_tag(kel_handle *h, u32 tx, st_tag *tag, u32 set, u32 *err) {
    const kel_vstring text = text_of(set, "the name of a tag", "another name, of another tag");
    st_tag_name_set(h, tx, tag, &text, err);
    st_tag_lamp_set_value(h, tx, tag, set + 1, err);
    st_point *point = st_tag_point_get(h, tx, tag, err);
    st_point_x_set_value(h, tx, point, static_cast<std::int32_t>(set) - 7, err);
    st_point_y_set_value(h, tx, point, static_cast<std::int32_t>(set) + 7, err);
}

void fill_every(kel_handle *h, u32 tx, void *object, u32 set, u32 *err) {
    st_every *every = Any{object};
    const kel_vstring label = text_of(set, "a label of some length", "a label, longer than that");
    const ip_address address = address_of(set);
    st_every_a8_set_value(h, tx, every, static_cast<u8>(set + 8), err);
    st_every_a16_set_value(h, tx, every, static_cast<u16>(set + 16), err);
    st_every_a32_set_value(h, tx, every, set + 32, err);
    st_every_a64_set_value(h, tx, every, set + 64, err);
    st_every_s32_set_value(h, tx, every, -1 - static_cast<std::int32_t>(set), err);
    st_every_s64_set_value(h, tx, every, -3 - static_cast<std::int64_t>(set), err);
    st_every_flag_set_value(h, tx, every, set, err);
    st_every_lamp_set_value(h, tx, every, set + 1, err);
    st_every_door_set_value(h, tx, every, set + 2, err);
    st_every_label_set(h, tx, every, &label, err);
    st_every_addr_set(h, tx, every, &address, err);
    fill_tag(h, tx, st_every_tag_get(h, tx, every, err), set, err);
}

void fill_grown(kel_handle *h, u32 tx, void *object, u32 set, u32 *err) {
    st_grown *grown = Any{object};
    const kel_vstring name = text_of(set, "the name of a grown one", "another name, and longer");
    const std::vector<u8> minutes(1440, static_cast<u8>(set + 5));
    st_grown_name_set(h, tx, grown, &name, err);
    st_grown_total_set_value(h, tx, grown, set + 9, err);
    st_grown_minute_set_mem(h, tx, grown, minutes.data(), 1440, err);
    fill_tag(h, tx, st_grown_share_get(h, tx, grown, err), set, err);
    fill_tag(h, tx, st_grown_extra_get(h, tx, grown, err), set, err);
}

// An array's print form would be 1440 lines.
void see_grown(kel_handle *h, const void *object, Sight &sight) {
    st_grown *grown = Any{object};
    const u32 tx = KEL_TX_NONE;
    u32 err = 0;
    u32 length = 0;
    const char *name = kel_vstring_bytes(st_grown_name_get(h, tx, grown, &err), &length);
    sight["name"] = std::string(name, length);
    sight["total"] = std::to_string(st_grown_total_get_value(h, tx, grown, &err));
    std::string minutes(1440, ' ');
    st_grown_minute_get_mem(h, tx, grown, minutes.data(), 1440, &err);
    sight["minute"] = minutes;
    std::vector<char> text(1024, ' ');
    length = st_tag_print(h, tx, text.data(), 0, "share", st_grown_share_get(h, tx, grown, &err),
                          1024, &err);
    sight["share"] = std::string(text.data(), length);
    if (static_cast<const kel_object *>(object)->variant < 1) return;
    text.assign(1024, ' ');
    length = st_tag_print(h, tx, text.data(), 0, "extra", st_grown_extra_get(h, tx, grown, &err),
                          1024, &err);
    sight["extra"] = std::string(text.data(), length);
}

u32 print_every(kel_handle *h, u32 tx, char *b, const void *o, u32 l, u32 *e) {
    return st_every_print(h, tx, b, 0, "object", Any{o}, l, e);
}
u32 print_tag(kel_handle *h, u32 tx, char *b, const void *o, u32 l, u32 *e) {
    return st_tag_print(h, tx, b, 0, "object", Any{o}, l, e);
}
u32 print_pair(kel_handle *h, u32 tx, char *b, const void *o, u32 l, u32 *e) {
    return st_pair_print(h, tx, b, 0, "object", Any{o}, l, e);
}
u32 print_single(kel_handle *h, u32 tx, char *b, const void *o, u32 l, u32 *e) {
    return st_single_print(h, tx, b, 0, "object", Any{o}, l, e);
}
u32 print_pair_key(kel_handle *h, u32 tx, char *b, const void *o, u32 l, u32 *e) {
    return pair_key_print(h, tx, b, 0, "object", Any{o}, l, e);
}

}  // namespace

const Kind kind_every = {TARN_KIND(st_every), .fill = fill_every, .see = see_print<print_every>};

const Kind kind_grown = {TARN_KIND(st_grown), .fill = fill_grown, .see = see_grown};

const Kind kind_tag = {TARN_KIND(st_tag),
                       .fill = [](kel_handle *h, u32 tx, void *o, u32 set,
                                  u32 *e) { fill_tag(h, tx, static_cast<st_tag *>(o), set, e); },
                       .see = see_print<print_tag>};

const Kind kind_pair = {TARN_KIND(st_pair),
                        .fill =
                            [](kel_handle *h, u32 tx, void *o, u32 set, u32 *e) {
                                const kel_vstring note =
                                    text_of(set, "a note of some length", "a note, longer still");
                                st_pair_count_set_value(h, tx, Any{o}, set + 3, e);
                                st_pair_note_set(h, tx, Any{o}, &note, e);
                            },
                        .see = see_print<print_pair>};

const Kind kind_pair_key = {
    TARN_KIND(pair_key),
    .fill =
        [](kel_handle *h, u32 tx, void *o, u32 set, u32 *e) {
            const kel_vstring name = text_of(set, "the name in a key", "another name, in a key");
            const ip_address peer = address_of(set);
            pair_key_port_set_value(h, tx, Any{o}, set + 80, e);
            pair_key_name_set(h, tx, Any{o}, &name, e);
            pair_key_peer_set(h, tx, Any{o}, &peer, e);
            pair_key_kind_set_value(h, tx, Any{o}, static_cast<u8>(set + 1), e);
        },
    .see = see_print<print_pair_key>};

const Kind kind_single = {TARN_KIND(st_single),
                          .fill =
                              [](kel_handle *h, u32 tx, void *o, u32 set, u32 *e) {
                                  const kel_vstring device = text_of(set, "the name of a device",
                                                                     "another name, of another");
                                  st_single_singleton_id_set_value(h, tx, Any{o}, set + 32, e);
                                  st_single_device_set(h, tx, Any{o}, &device, e);
                                  st_single_configured_set_value(h, tx, Any{o}, 1 - set, e);
                              },
                          .see = see_print<print_single>};

const Kind kind_lamp = {
    TARN_KIND_BEGIN(lamp_state),
    .backpropagate = [](kel_handle *h, u32 tx, void *o,
                        u32 *e) { return lamp_state_backpropagate(h, tx, Any{o}, e); },
    .is_valid_cr = [](kel_handle *h, u32 value) { return lamp_state_is_valid_cr(h, value); },
    .fill = [](kel_handle *h, u32 tx, void *o, u32 set,
               u32 *e) { lamp_state_set_value(h, tx, Any{o}, set + 1, e); },
    .see =
        [](kel_handle *h, const void *o, Sight &sight) {
            u32 err = 0;
            sight["value"] = std::to_string(lamp_state_get_value(h, KEL_TX_NONE, Any{o}, &err));
        }};

}  // namespace tarn::test
