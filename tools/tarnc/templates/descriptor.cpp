{{! SPDX-License-Identifier: Apache-2.0 }}
static kel_variant_usage {{symbol}}_usage[] = {
{{#variants}}
    {{usage}},
{{/variants}}
};
static kel_variant_info {{symbol}}_variants = {
    {{variant_count}},
    {{symbol}}_usage,
};
const kel_type_info _{{symbol}}_type_info_internal = {
    .magic = KEL_TYPE_INFO_MAGIC,
    .luid = {{luid_bytes}},
    .luid_text = "{{luid}}",
    .name = "{{name}}",
    .module_name = "{{module}}",
    .kind = "{{kind}}",
    .type_slot = KEL_TYPE_SLOT_NONE,
    .variant_info = &{{symbol}}_variants,
    .store_private = 0,
};
