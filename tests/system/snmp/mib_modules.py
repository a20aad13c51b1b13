"""The compiled MIB modules: types and ranges of the objects that poectl answers for."""

from pyasn1.type import univ
from pysnmp.proto import rfc1902
from pysnmp.smi import builder

MODULES = ("POWER-ETHERNET-MIB", "ENTITY-MIB", "ENTITY-SENSOR-MIB")
# A type of the modules and how snmpwalk calls it; a class comes before those that it is derived from.
WIRE_TYPES = (
    (rfc1902.Counter32, "Counter32"),
    ((rfc1902.Gauge32, rfc1902.Unsigned32), "Gauge32"),
    (univ.Integer, "INTEGER"),
    (univ.OctetString, "STRING"),
    (univ.ObjectIdentifier, "OID"),
)


def columns():
    """The columns of all tables by their identifiers."""
    modules = builder.MibBuilder()
    modules.addMibSources(builder.ZipMibSource("pysnmp_mibs"))
    modules.loadModules(*MODULES)
    column_type, = modules.importSymbols("SNMPv2-SMI", "MibTableColumn")
    return {symbol.name: symbol for module in MODULES for symbol in modules.mibSymbols[module].values()
            if isinstance(symbol, column_type)}


def fault(known_columns, identifier, kind, value):
    """What the modules have against an answer, or None. The identifier ends in an index of one number, or of two."""
    column = known_columns.get(identifier[:-1]) or known_columns.get(identifier[:-2])
    if column is None:
        return "there is no such column"
    if column.maxAccess == "noaccess":
        return f"{column.label} cannot be read"
    expected = next(name for classes, name in WIRE_TYPES if isinstance(column.syntax, classes))
    if kind != expected:
        return f"{column.label} is of the type {kind}, not {expected}"
    try:
        column.syntax.clone(value.lstrip(".") if kind == "OID" else value)
    except Exception as refusal:  # of any class of the modules
        return f"{column.label} is {value}: {refusal}"
    return None
