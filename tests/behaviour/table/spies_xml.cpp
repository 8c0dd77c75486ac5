// SPDX-License-Identifier: Apache-2.0
// The services that write and read an element, seen on their way to the runtime.
#include <dlfcn.h>

#include "tests/behaviour/table/spies.h"

using tarn::test::Call;
using tarn::test::spies;

uint32_t start_tag(kel_handle *handle, uint32_t tx_id, char *buffer, const char *element,
                   uint32_t remaining, uint8_t state_flag, uint32_t *err) {
    Call &call = spies.note("start_tag");
    call.tx_id = tx_id;
    call.text = element;
    call.arguments = {remaining, state_flag};
    static const auto real = reinterpret_cast<decltype(&start_tag)>(dlsym(RTLD_NEXT, "start_tag"));
    return real(handle, tx_id, buffer, element, remaining, state_flag, err);
}

// The last argument noted is the error that it was entered with.
uint32_t end_tag(kel_handle *handle, uint32_t tx_id, char *buffer, const char *element,
                 uint32_t remaining, uint32_t *err) {
    Call &call = spies.note("end_tag");
    call.tx_id = tx_id;
    call.text = element;
    call.arguments = {remaining, *err};
    static const auto real = reinterpret_cast<decltype(&end_tag)>(dlsym(RTLD_NEXT, "end_tag"));
    return real(handle, tx_id, buffer, element, remaining, err);
}

uint32_t xml_get_element_value(void *document, const char *path, char *area, uint32_t area_len,
                               uint32_t zero) {
    spies.note("xml_get_element_value").text = path;
    const std::string &wished = spies.wishes.element_path;
    if (!wished.empty() && std::string(path).compare(0, wished.size(), wished) == 0) {
        return spies.wishes.element_answer;
    }
    static const auto real = reinterpret_cast<decltype(&xml_get_element_value)>(
        dlsym(RTLD_NEXT, "xml_get_element_value"));
    return real(document, path, area, area_len, zero);
}

uint32_t xml_get_element_nodecount(void *document, const char *path, uint32_t *count) {
    spies.note("xml_get_element_nodecount").text = path;
    static const auto real = reinterpret_cast<decltype(&xml_get_element_nodecount)>(
        dlsym(RTLD_NEXT, "xml_get_element_nodecount"));
    return real(document, path, count);
}
