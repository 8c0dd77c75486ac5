# SPDX-License-Identifier: Apache-2.0
# How gdb prints tarnbase's data. Most types are opaque to programs, so the printers read the
# memory itself, with the tables before this text, which the schema compiler writes.
#
#   kel_vstring, ip_address, kel_boolean     the value
#   a pointer to a structure or enumeration  address, type, flags; the fields
#   kel_record, kel_table, kel_handle        what they are, with decoded members
#   kel_object                               whatever its descriptor says it is
#   kel_type_info                            name, kind, live objects
#   command `tarnbase ADDRESS`               the object, record or table at an address
import errno
import ipaddress
import struct

import gdb
import gdb.printing

MAGIC = 0xBEEFF00D  # KEL_TYPE_INFO_MAGIC
NO_TRANSACTION = 0xFFFFFFFF
INLINE = 12  # KEL_VSTRING_INLINE
FORMS = {1: "B", 2: "H", 4: "I", 8: "Q"}  # of numbers, by size
OBJECT_FLAGS = (
    (1, "OBJ_OID_MAPPED"),
    (2, "OBJ_EMBEDDED"),
    (4, "OBJ_NESTED"),
    (8, "OBJ_STATE_TRACKED"),
    (32, "OBJ_RA_DATA"),
    (64, "OBJ_STATE_ELSEWHERE"),
    (128, "modified"),
)
RECORD_FLAGS = (
    (1, "KEL_RECORD_IN_INDEX"),
    (2, "KEL_RECORD_PENDING_DESTROY"),
    (16, "KEL_RECORD_PKEY_INSERTED"),
    (32, "KEL_RECORD_HD_MAPPED"),
)
OPEN_MODES = ("KEL_OPEN_BY_NAME", "KEL_OPEN_BY_ID", "KEL_OPEN_AUTO_ID")
TRACKING = {0xDDDD: "KEL_STATE_TRACKING_OFF", 0xEEEE: "KEL_STATE_TRACKING_ON"}


# ---- Memory ----------------------------------------------------------------


def read(address, length):
    return gdb.selected_inferior().read_memory(address, length).tobytes()


def number(address, form):
    return struct.unpack(form, read(address, struct.calcsize(form)))[0]


def pointer(address):
    return number(address, "<Q")


def c_text(data):
    return data.split(b"\0", 1)[0].decode("utf-8", "replace")


class Descriptor:
    """A kel_type_info: magic, LUID, texts of fixed length."""

    def __init__(self, address):
        data = read(address, 248)
        self.valid = struct.unpack_from("<I", data)[0] == MAGIC
        self.luid = c_text(data[20:53])
        self.name = c_text(data[53:117])
        self.module = c_text(data[117:181])
        self.kind = c_text(data[181:245])


def descriptor_of(address):
    """The descriptor that the block at `address` starts with, or None."""
    try:
        where = pointer(address)
        descriptor = Descriptor(where) if where else None
    except gdb.MemoryError:
        return None
    return descriptor if descriptor is not None and descriptor.valid else None


# ---- Texts of values -------------------------------------------------------


def limit():
    return gdb.parameter("print elements") or 1 << 30


def flags_text(flags, names):
    parts = [name for bit, name in names if flags & bit]
    rest = flags & ~sum(bit for bit, _ in names)
    if rest:
        parts.append(hex(rest))
    return "|".join(parts) or "0"


def error_text(error):
    return "0" if error == 0 else "%d (%s)" % (error, errno.errorcode.get(error, "unknown"))


def transaction_text(tx_id):
    return "KEL_TX_NONE" if tx_id == NO_TRANSACTION else str(tx_id)


def quoted(data):
    shown = data[: limit()]
    escapes = {0x22: '\\"', 0x5C: "\\\\", 0x0A: "\\n", 0x09: "\\t", 0x0D: "\\r"}
    try:
        text = shown.decode("utf-8")
    except UnicodeDecodeError:
        text = shown.decode("latin-1")
    out = ""
    for c in text:
        point = ord(c)
        plain = c.isprintable() and (point < 128 or len(text) != len(shown))
        out += escapes.get(point) or (c if plain else "\\x%02x" % point)
    return '"%s"%s' % (out, "..." if len(data) > len(shown) else "")


def vstring_parts(address):
    """Borrowed, length, address of the block or None, bytes that are worth reading."""
    borrowed, length = struct.unpack("<II", read(address + 12, 8))
    block = pointer(address + 24) if length > INLINE else None
    where = address + 20 if block is None else block
    return borrowed, length, block, read(where, min(length, limit() + 1))


def vstring_text(address):
    return quoted(vstring_parts(address)[3])


def address_text(address):
    data = read(address + 11, 17)
    if data[0] == 0:
        return "none"
    if data[0] == 4:
        return str(ipaddress.IPv4Address(data[1:5]))
    if data[0] == 6:
        return str(ipaddress.IPv6Address(data[1:17]))
    return "family %d (no family of addresses)" % data[0]


def boolean_text(address):
    value = number(address + 12, "<I")
    return {0: "false", 1: "true"}.get(value, "%d (neither true nor false)" % value)


def enumeration_text(name, address):
    value = number(address + 12, "<I")
    return "%s (%d)" % (ENUMERATIONS[name].get(value, "no enumerator"), value)


# By type: the built-in types that are objects.
VALUE_TEXTS = {
    "kel_boolean": boolean_text,
    "kel_vstring": vstring_text,
    "ip_address": address_text,
}


def array_text(data):
    """As gdb prints arrays: a run of ten or more is printed once."""
    parts = []
    at = 0
    while at < len(data) and len(parts) < limit():
        run = at
        while run < len(data) and data[run] == data[at]:
            run += 1
        if run - at >= 10:
            parts.append("%d <repeats %d times>" % (data[at], run - at))
        else:
            parts.extend([str(data[at])] * (run - at))
        at = run
    return "{%s%s}" % (", ".join(parts), "..." if at < len(data) else "")


def field_text(field, address):
    _, kind, type_name, offset, elements, _ = field
    at = address + offset
    group, built_in, size, is_signed = KINDS[kind]
    if group == "number":
        form = FORMS[size].lower() if is_signed else FORMS[size]
        return str(number(at, "<" + form))
    if built_in in VALUE_TEXTS:
        return VALUE_TEXTS[built_in](at)
    if group == "enumeration":
        return enumeration_text(type_name, at)
    if group == "array":
        return array_text(read(at, elements))
    return braced(structure_fields(type_name, at))


def structure_fields(name, address):
    """Names and texts of the fields that the instance's variant has."""
    variant = number(address + 8, "<b")
    for field in STRUCTURES[name]:
        if field[5] > variant:
            continue
        try:
            yield field[0], field_text(field, address)
        except gdb.MemoryError:
            yield field[0], "<not readable>"


def braced(pairs):
    return "{%s}" % ", ".join("%s = %s" % pair for pair in pairs)


# ---- Objects ---------------------------------------------------------------


def header_text(address, descriptor):
    variant, created, flags = struct.unpack("<bbB", read(address + 8, 3))
    text = "%s, variant %d" % (descriptor.name, variant)
    if created != variant:
        text += " (created as %d)" % created
    return "%s, flags %s" % (text, flags_text(flags, OBJECT_FLAGS))


def value_text(name, address):
    """The text of an object of one value, or None."""
    if name in VALUE_TEXTS:
        return VALUE_TEXTS[name](address)
    return enumeration_text(name, address) if name in ENUMERATIONS else None


class ObjectPrinter:
    """The object at an address, by its descriptor."""

    def __init__(self, address, lead=""):
        self.address = address
        self.lead = lead

    def to_string(self):
        descriptor = descriptor_of(self.address)
        if descriptor is None:
            return self.lead + "<no live object>"
        text = self.lead + header_text(self.address, descriptor)
        value = value_text(descriptor.name, self.address)
        return text if value is None else "%s: %s" % (text, value)

    def children(self):
        descriptor = descriptor_of(self.address)
        if descriptor is None or descriptor.name not in STRUCTURES:
            return iter(())
        return structure_fields(descriptor.name, self.address)


def object_text(address):
    """The same in one line."""
    if address == 0:
        return "none"
    printer = ObjectPrinter(address)
    fields = braced(printer.children())
    return printer.to_string() + ("" if fields == "{}" else " " + fields)


class VstringPrinter:
    def __init__(self, address):
        self.address = address

    def to_string(self):
        try:
            borrowed, length, block, data = vstring_parts(self.address)
        except gdb.MemoryError:
            return "<not readable>"
        where = "inline" if block is None else "%s at %#x" % (
            "borrowed" if borrowed else "block", block)
        return "%s, %d bytes %s" % (quoted(data), length, where)


class TextPrinter:
    """A value whose text is a function of its address."""

    def __init__(self, address, text):
        self.address = address
        self.text = text

    def to_string(self):
        return self.text(self.address)


# ---- Blocks and handles ----------------------------------------------------


class RecordPrinter:
    def __init__(self, address):
        self.address = address
        self.descriptor = descriptor_of(address)

    def to_string(self):
        if self.descriptor is None:
            return "<no live record>"
        return self.descriptor.name

    def children(self):
        if self.descriptor is None:
            return
        at = self.address
        yield "table", table_text(pointer(at + 8))
        yield "ref_count", str(number(at + 28, "<I"))
        yield "tenant_id", str(number(at + 32, "<H"))
        yield "flags", flags_text(number(at + 34, "<B"), RECORD_FLAGS)
        yield "src", str(number(at + 35, "<B"))
        yield "object", object_text(pointer(at + 72))
        if TABLES.get(self.descriptor.name[: -len("_record")]):
            yield "key_object", object_text(pointer(at + 80))


def table_text(address):
    if address == 0:
        return "none"
    descriptor = descriptor_of(address)
    if descriptor is None:
        return "<no table>"
    name = c_text(read(address + 11, 256))
    shown = quoted(name.encode()) if name else "id %d" % number(address + TABLE_ID, "<Q")
    return "%s %s at %#x" % (descriptor.name, shown, address)


# Offsets in a table block.
TABLE_COUNT = 268
TABLE_SOURCES = 272
TABLE_ID = 1296
TABLE_MODE = 1304


class TablePrinter:
    def __init__(self, address):
        self.address = address

    def to_string(self):
        return table_text(self.address)

    def children(self):
        if descriptor_of(self.address) is None:
            return
        at = self.address
        mode = number(at + TABLE_MODE, "<I")
        counts = struct.unpack("<256I", read(at + TABLE_SOURCES, 1024))
        yield "record_count", str(number(at + TABLE_COUNT, "<I"))
        yield "src_counts", braced(("[%d]" % i, str(n)) for i, n in enumerate(counts) if n)
        yield "open_mode", OPEN_MODES[mode] if mode < len(OPEN_MODES) else str(mode)
        yield "toc_next", table_text(pointer(at + TABLE_MODE + 8))
        yield "replication_marked", str(number(at + TABLE_MODE + 24, "<I"))
        yield "write_cursor_armed", str(number(at + TABLE_MODE + 28, "<I"))


class HandlePrinter:
    """A kel_handle, with the members that the program's debug information describes."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "handle, last_error %s" % error_text(int(self.value["last_error"]))

    def children(self):
        value = self.value
        for name in ("arena", "type_map", "store_types_enabled", "replication_engine_active",
                     "header_stamp"):
            yield name, value[name]
        yield "cr_tx_id", transaction_text(int(value["cr_tx_id"]))
        yield "cr_fallback_enabled", value["cr_fallback_enabled"]
        yield "state_tracking", self.tracking(int(value["state_tracking"]))
        yield "hd_mapping_enabled", value["hd_mapping_enabled"]
        for name in ("alloc_hook", "free_hook", "write_log_hook", "delta_log_hook",
                     "type_alloc_hook", "type_map_insert_hook", "type_map_lookup_hook"):
            yield name, value[name]

    @staticmethod
    def tracking(address):
        if address == 0:
            return "none"
        try:
            mode = number(address, "<I")
        except gdb.MemoryError:
            return "<not readable>"
        return TRACKING.get(mode, "%#x (corrupt)" % mode)


class DescriptorPrinter:
    def __init__(self, address):
        self.address = address

    def to_string(self):
        descriptor = Descriptor(self.address)
        if not descriptor.valid:
            return "<no descriptor>"
        return "%s %s of %s, %s" % (descriptor.kind, descriptor.name, descriptor.module,
                                    descriptor.luid)

    def children(self):
        if not Descriptor(self.address).valid:
            return
        info = pointer(self.address + 256)
        usages = pointer(info + 8)
        for i in range(number(info, "<b")):
            at = usages + 40 * i
            variant, used, slop, created, destroyed, live = struct.unpack("<IIIxxxxQQQ",
                                                                          read(at, 40))
            yield "variant %d" % variant, "{used_length = %d, alloc_slop = %d, created = %d, " \
                "destroyed = %d, live = %d}" % (used, slop, created, destroyed, live)


# ---- Registration ----------------------------------------------------------

def text_printer(text):
    return lambda address: TextPrinter(address, text)


BY_ADDRESS = {name: text_printer(text) for name, text in VALUE_TEXTS.items()}
BY_ADDRESS.update({
    "kel_vstring": VstringPrinter,
    "kel_object": ObjectPrinter,
    "kel_enum_object": ObjectPrinter,
    "kel_record": RecordPrinter,
    "kel_table": TablePrinter,
    "kel_type_info": DescriptorPrinter,
})


class Printers(gdb.printing.PrettyPrinter):
    """The printer of a value: by its type, or by the opaque type that it points to."""

    def __init__(self):
        names = sorted(BY_ADDRESS) + ["kel_handle", "pointers to structures and enumerations"]
        super().__init__("tarnbase", [gdb.printing.SubPrettyPrinter(name) for name in names])
        self.enabled_names = {each.name: each for each in self.subprinters}

    def enabled_for(self, name):
        return self.enabled_names[name].enabled

    def __call__(self, value):
        kind = value.type.strip_typedefs()
        if kind.code == gdb.TYPE_CODE_PTR:
            return self.for_pointer(value, kind.target().strip_typedefs().unqualified().tag)
        name = kind.unqualified().tag
        if name == "kel_handle" and self.enabled_for(name):
            return HandlePrinter(value)
        if name in BY_ADDRESS and value.address is not None and self.enabled_for(name):
            return BY_ADDRESS[name](int(value.address))
        return None

    def for_pointer(self, value, name):
        if name not in STRUCTURES and name not in ENUMERATIONS:
            return None
        if not self.enabled_for("pointers to structures and enumerations") or int(value) == 0:
            return None
        return ObjectPrinter(int(value), "%#x " % int(value))


class Show(gdb.Command):
    """Print the object, record or table at an address: tarnbase ADDRESS"""

    def __init__(self):
        super().__init__("tarnbase", gdb.COMMAND_DATA, gdb.COMPLETE_EXPRESSION)

    def invoke(self, argument, from_tty):
        address = int(gdb.parse_and_eval(argument))
        descriptor = descriptor_of(address)
        if descriptor is None:
            raise gdb.GdbError("%#x is no live object, record or table" % address)
        printers = {"table": TablePrinter, "table_record": RecordPrinter}
        printer = printers.get(descriptor.kind, ObjectPrinter)(address)
        gdb.write(printer.to_string() + "\n")
        for name, text in getattr(printer, "children", lambda: ())():
            gdb.write("  %s = %s\n" % (name, text))


gdb.printing.register_pretty_printer(gdb.current_objfile(), Printers(), replace=True)
Show()
