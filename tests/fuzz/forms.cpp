// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/forms.h"

namespace tarnbase::fuzz {

char *text_page() {
    static Buffer page(longest_text);
    return page.text();
}

}  // namespace tarnbase::fuzz
