"""The samples of poe.prom that docs/monitoring.md promises for a snapshot, from its JSON."""

CHIP = (("poe_main_power_watts", "mainPower"), ("poe_main_oper_status", "mainOperStatus"),
        ("poe_main_consumption_watts", "mainConsumption"), ("poe_device_temperature_celsius", "deviceTemperature"),
        ("poe_thermal_shutdown", "thermalShutdown"), ("poe_device_error", "devError"))
# Metric, key of the JSON, divisor.
PORT = (("poe_port_oper_status", "operStatus", 1), ("poe_port_detection_status", "detectionStatus", 1),
        ("poe_port_power_classification", "powerClassification", 1), ("poe_port_power_consumption_watts", "powerConsumption", 1),
        ("poe_port_invalid_signature_total", "invalidSignatureCounter", 1), ("poe_port_power_denied_total", "powerDeniedCounter", 1),
        ("poe_port_overload_total", "overLoadCounter", 1), ("poe_port_underload_total", "underLoadCounter", 1),
        ("poe_port_short_total", "shortCounter", 1), ("poe_port_class_error_total", "classErrorCounter", 1),
        ("poe_port_enabled", "enabled", 1), ("poe_port_limit_watts", "limit_w", 1), ("poe_port_priority", "priority", 1),
        ("poe_port_voltage_volts", "voltage_dv", 10), ("poe_port_current_amperes", "current_ma", 1000),
        ("poe_port_powered", "powered", 1))
OF_THE_MOMENT = ("poe_snapshot_age_seconds", "poe_snapshot_timestamp_seconds", "poe_snapshot_span_seconds",
                 "poe_snapshot_period_seconds")


def samples(text):
    """Metric with its labels -> value, without what two snapshots never share."""
    lines = (line.rsplit(" ", 1) for line in text.splitlines() if not line.startswith("#"))
    return {name: float(value) for name, value in lines if not name.startswith(OF_THE_MOMENT)}


def of_snapshot(snapshot):
    wanted = {f'poe_snapshot_transfers{{source="{snapshot["source"]}"}}': snapshot["transfers"]}
    wanted.update({metric: snapshot[key] for metric, key in CHIP if key in snapshot})
    for number, port in enumerate(snapshot["port"]):
        name = port.get("name", "").replace("\\", "\\\\").replace('"', '\\"')
        labels = f'{{port="{number}"' + (f',name="{name}"' if name else "") + "}"
        wanted.update({metric + labels: port[key] / divisor for metric, key, divisor in PORT if key in port})
    return wanted
