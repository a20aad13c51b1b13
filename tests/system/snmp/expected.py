"""The objects that docs/snmp.md promises for a snapshot, from its JSON."""

POWER_ETHERNET = (1, 3, 6, 1, 2, 1, 105)
ENTITY = (1, 3, 6, 1, 2, 1, 47, 1, 1, 1, 1)
SENSOR = (1, 3, 6, 1, 2, 1, 99, 1, 1, 1)
AGE = 5  # index of the sensor with the snapshot's age
AGE_VALUE = (*SENSOR, 4, AGE)

# Index after that of the owner, name, type, scale, decimals, units, key of the JSON, whether it is a truth value.
CHIP_SENSORS = (
    (1, "temperature", 8, 9, 0, "degrees Celsius", "deviceTemperature", False),
    (2, "thermal shutdown", 12, 9, 0, "truth value", "thermalShutdown", True),
    (3, "device error", 12, 9, 0, "truth value", "devError", True),
    (4, "snapshot age", 1, 9, 1, "s", None, False),
)
PORT_SENSORS = (
    (1, "power", 6, 9, 0, "W", "powerConsumption", False),
    (2, "voltage", 4, 9, 1, "V", "voltage_dv", False),
    (3, "current", 5, 8, 0, "mA", "current_ma", False),
    (4, "power limit", 6, 9, 0, "W", "limit_w", False),
    (5, "powered", 12, 9, 0, "truth value", "powered", True),
    (6, "detection", 1, 9, 0, "code", "detectionStatus", False),
    (7, "class errors", 1, 9, 0, "errors", "classErrorCounter", False),
)


def truth(value):
    return None if value is None else 1 if value else 2


def among(value, least, most):
    return value if value is not None and least <= value <= most else None


def admin_enable(port):
    if "enabled" in port:
        return truth(port["enabled"])
    return truth(port["operStatus"] != 1) if "operStatus" in port else None


def port_row(port):
    denied = port.get("powerDeniedCounter")
    name = port.get("name", "")
    return {
        3: ("INTEGER", admin_enable(port)),
        4: ("INTEGER", 2),
        6: ("INTEGER", among(port.get("operStatus"), 1, 6)),
        7: ("INTEGER", among(port.get("priority"), 1, 3)),
        8: ("Counter32", port.get("underLoadCounter")),
        9: ("STRING", (name if name.isprintable() else "").encode()),
        10: ("INTEGER", among(port.get("powerClassification"), 1, 5)),
        11: ("Counter32", port.get("invalidSignatureCounter")),
        12: ("Counter32", None if denied is None else denied // 2),
        13: ("Counter32", port.get("overLoadCounter")),
        14: ("Counter32", port.get("shortCounter")),
    }


def power_ethernet(snapshot):
    rows = {}
    for index, port in enumerate(snapshot["port"], 1):
        rows.update({(*POWER_ETHERNET, 1, 1, 1, column, 1, index): cell for column, cell in port_row(port).items()})
    main = {
        2: ("Gauge32", among(snapshot.get("mainPower"), 1, 65535)),
        3: ("INTEGER", among(snapshot.get("mainOperStatus"), 1, 3)),
        4: ("Gauge32", snapshot.get("mainConsumption")),
    }
    rows.update({(*POWER_ETHERNET, 1, 3, 1, 1, column, 1): cell for column, cell in main.items()})
    rows[(*POWER_ETHERNET, 1, 4, 1, 1, 2, 1)] = ("INTEGER", 2)
    return rows


def entity(index, description, kind, owner, position, name):
    cells = (("STRING", description.encode()), ("OID", ".0.0"), ("INTEGER", owner), ("INTEGER", kind),
             ("INTEGER", position), ("STRING", name.encode()))
    return {(*ENTITY, column, index): cell for column, cell in enumerate(cells, 2)}


def sensors(owner, owner_name, table, values, period):
    """`values` has the keys of the JSON; None for each while there is no snapshot."""
    rows = {}
    for number, name, kind, scale, decimals, units, key, is_truth in table:
        index = owner + number
        value = values.get(key)
        value = truth(value) if is_truth else value
        value = None if value is None else max(-10**9, min(10**9, value))
        full_name = f"{owner_name} {name}"
        rows.update(entity(index, full_name, 8, owner, number, full_name))
        cells = {1: ("INTEGER", kind), 2: ("INTEGER", scale), 3: ("INTEGER", decimals), 4: ("INTEGER", value),
                 5: ("INTEGER", 2 if value is None else 1), 6: ("STRING", units.encode()),
                 8: ("Gauge32", period if key else 0)}
        rows.update({(*SENSOR, column, index): cell for column, cell in cells.items()})
    return rows


def objects(snapshot, age):
    """Identifier -> (type, value). `snapshot` is None when there is none or a stale one; `age` in 0.1 s or None."""
    known = snapshot or {"port": [{}] * 4}
    period = min(known.get("period_ms", 0), 2**32 - 1)
    rows = power_ethernet(snapshot) if snapshot else {}
    rows.update(entity(1, "PD69104, Power over Ethernet controller with 4 ports", 9, 0, -1, "PSE"))
    rows.update(sensors(1, "PSE", CHIP_SENSORS, {**known, None: age}, period))
    for port, values in enumerate(known["port"]):
        rows.update(entity(100 * (port + 1), f"PSE port {port}", 10, 1, port + 1, f"port {port}"))
        rows.update(sensors(100 * (port + 1), f"port {port}", PORT_SENSORS, values, period))
    return {identifier: cell for identifier, cell in rows.items() if cell[1] is not None}
