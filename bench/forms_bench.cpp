// SPDX-License-Identifier: Apache-2.0
// Encoding and decoding an object with a string and 18 numbers, and one with a string, 40 numbers
// and 1440 bytes, beside Protocol Buffers, FlatBuffers and Cap'n Proto.
//   forms_bench REPETITIONS
#include <benchmark/benchmark.h>

#include "bench/contenders/keys.h"
#include "bench/forms/forms.h"
#include "bench/session.h"

namespace {

using bench::Contender;

// An object, and its wire form.
template <typename Object>
struct Place {
    bench::Session session;
    Object *object = nullptr;
    std::vector<char> form = std::vector<char>(8192);
};

void set_name(kel_handle *handle, kel_vstring *field, const std::string &name) {
    std::uint32_t err = 0;
    kel_vstring_assign(handle, KEL_TX_NONE, field, name.data(),
                       static_cast<std::uint32_t>(name.size()), &err);
    bench::need(err == 0, "assign");
}

st_ldap_stats *make(kel_handle *handle, const bench::Small &values) {
    std::uint32_t err = 0;
    st_ldap_stats *made = st_ldap_stats_create(handle, KEL_TX_NONE);
    set_name(handle, st_ldap_stats_sname_get(handle, KEL_TX_NONE, made, &err), values.name);
    constexpr decltype(&st_ldap_stats_bind_fail_set_value) setters[] = {
        st_ldap_stats_total_msg_sent_set_value,        st_ldap_stats_total_msg_rcvd_set_value,
        st_ldap_stats_avg_resp_delay_set_value,        st_ldap_stats_max_resp_delay_set_value,
        st_ldap_stats_total_search_req_set_value,      st_ldap_stats_total_bind_req_set_value,
        st_ldap_stats_total_compare_req_set_value,     st_ldap_stats_total_extended_req_set_value,
        st_ldap_stats_total_search_resentry_set_value, st_ldap_stats_total_search_resdone_set_value,
        st_ldap_stats_total_bind_resp_set_value,       st_ldap_stats_total_compare_resp_set_value,
        st_ldap_stats_total_extended_resp_set_value,   st_ldap_stats_search_success_set_value,
        st_ldap_stats_search_fail_set_value,           st_ldap_stats_missing_attr_set_value,
        st_ldap_stats_bind_success_set_value,          st_ldap_stats_bind_fail_set_value};
    static_assert(std::size(setters) == std::tuple_size_v<decltype(values.numbers)>);
    for (std::size_t i = 0; i < std::size(setters); ++i)
        setters[i](handle, KEL_TX_NONE, made, values.numbers[i], &err);
    bench::need(err == 0, "set_value");
    return made;
}

// Its nested counters stay zero, and are encoded beside the forty or so numbers of its own.
st_aaa_servers *make(kel_handle *handle, const bench::Large &values) {
    std::uint32_t err = 0;
    st_aaa_servers *made = st_aaa_servers_create(handle, KEL_TX_NONE);
    set_name(handle, st_aaa_servers_sname_get(handle, KEL_TX_NONE, made, &err), values.name);
    st_aaa_servers_duration_set_value(handle, KEL_TX_NONE, made, values.numbers[0], &err);
    st_aaa_servers_minute_set_mem(handle, KEL_TX_NONE, made, values.minute.data(), 1440, &err);
    bench::need(err == 0, "set_value");
    return made;
}

template <auto marshal, typename Object>
Contender encoder(Place<Object> &place) {
    return {"tarnbase", [&place](std::uint32_t rounds) {
                std::uint32_t err = 0;
                for (; rounds > 0; --rounds)
                    benchmark::DoNotOptimize(
                        marshal(place.session.handle, KEL_TX_NONE, place.form.data(), place.object,
                                static_cast<std::uint32_t>(place.form.size()), &err));
                bench::need(err == 0, "marshal");
            }};
}

template <auto unmarshal, typename Object>
void decode(Place<Object> &place, std::uint32_t tx) {
    std::uint32_t err = 0;
    benchmark::DoNotOptimize(unmarshal(place.session.handle, tx, place.form.data(), place.object,
                                       static_cast<std::uint32_t>(place.form.size()), 0, &err));
    bench::need(err == 0, "unmarshal");
}

template <auto unmarshal, typename Object>
Contender decoder(Place<Object> &place) {
    return {"tarnbase", [&place](std::uint32_t rounds) {
                for (; rounds > 0; --rounds) decode<unmarshal>(place, KEL_TX_NONE);
            }};
}

template <auto unmarshal, typename Object>
Contender decoder_in_transaction(Place<Object> &place) {
    return {"tarnbase", [&place](std::uint32_t rounds) {
                constexpr std::uint32_t most = 100;  // of a transaction
                while (rounds > 0) {
                    std::uint32_t tx = 0;
                    kel_transaction_begin(place.session.handle, &tx);
                    for (std::uint32_t i = 0; i < most && rounds > 0; ++i, --rounds)
                        decode<unmarshal>(place, tx);
                    kel_transaction_commit(place.session.handle, tx);
                }
            }};
}

}  // namespace

int main(int count, char **arguments) {
    const auto repetitions =
        static_cast<std::uint32_t>(count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 5);
    Place<st_ldap_stats> small;
    Place<st_aaa_servers> large;
    small.object = make(small.session.handle, bench::filled<bench::Small>());
    large.object = make(large.session.handle, bench::filled<bench::Large>());

    bench::Forms small_forms, large_forms;
    small_forms.encode = {encoder<st_ldap_stats_marshal>(small)};
    small_forms.decode = {decoder<st_ldap_stats_unmarshal>(small)};
    large_forms.encode = {encoder<st_aaa_servers_marshal>(large)};
    large_forms.decode = {decoder<st_aaa_servers_unmarshal>(large)};
#ifdef TARNBASE_HAS_PROTOBUF
    bench::add_protobuf(small_forms, large_forms);
#endif
#ifdef TARNBASE_HAS_FLATBUFFERS
    bench::add_flatbuffers(small_forms, large_forms);
#endif
#ifdef TARNBASE_HAS_CAPNP
    bench::add_capnp(small_forms, large_forms);
#endif
    bench::hold({"encode", "small", small_forms.encode}, repetitions);
    bench::hold({"decode", "small", small_forms.decode}, repetitions);
    bench::hold({"encode", "large", large_forms.encode}, repetitions);
    bench::hold({"decode", "large", large_forms.decode}, repetitions);
    large_forms.decode[0] = decoder_in_transaction<st_aaa_servers_unmarshal>(large);
    bench::hold({"decode in a transaction", "large", large_forms.decode}, repetitions);
    return 0;
}
