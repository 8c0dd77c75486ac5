# SPDX-License-Identifier: Apache-2.0
# Made by tarnc from sample.tarn; changes belong there.
# What the debug information of a program lacks: its types are opaque.

# Kinds of field: group, type, bytes, whether a number is signed.
KINDS = {
    "u_int8": ("number", "u_int8", 1, False),
    "u_int16": ("number", "u_int16", 2, False),
    "u_int32": ("number", "u_int32", 4, False),
    "u_int64": ("number", "u_int64", 8, False),
    "int32": ("number", "int32", 4, True),
    "int64": ("number", "int64", 8, True),
    "boolean": ("boxed", "kel_boolean", 16, False),
    "enumeration": ("enumeration", "", 16, False),
    "vstring": ("object", "kel_vstring", 32, False),
    "address": ("object", "ip_address", 32, False),
    "structure": ("structure", "", 0, False),
    "array": ("array", "", 1, False),
}

# Enumerators by user value.
ENUMERATIONS = {
    "color": {
        1: "COLOR_RED",
        2: "COLOR_BLUE",
    },
}

# Fields in order: name, kind, type, offset, elements of an array, first variant.
STRUCTURES = {
    "st_corner": (
        ("x", "int64", "int64", 16, 0, 0),
        ("register", "u_int8", "u_int8", 24, 0, 0),
    ),
    "st_shape": (
        ("sides", "u_int8", "u_int8", 11, 0, 0),
        ("number", "u_int32", "u_int32", 12, 0, 0),
        ("color", "enumeration", "color", 16, 0, 0),
        ("first", "structure", "st_corner", 32, 0, 0),
        ("pattern", "array", "u_int8", 72, 4, 0),
        ("filled", "boolean", "kel_boolean", 80, 0, 1),
    ),
    "shape_key": (
        ("layer", "vstring", "kel_vstring", 16, 0, 0),
        ("owner", "address", "ip_address", 48, 0, 0),
    ),
}

# Whether the records have a key object.
TABLES = {
    "tbl_shape": False,
    "tbl_layer_shape": True,
}
