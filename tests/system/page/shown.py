"""What the page shows, and what it has to show for the JSON of 'poectl status'."""

STATES = {"DISABLED": "Disabled", "SEARCHING": "Searching", "DELIVERINGPOWER": "Delivering power", "FAULT": "Fault",
          "TEST": "Test", "OTHERFAULT": "Other fault"}
COUNTERS = ("invalidSignatureCounter", "powerDeniedCounter", "overLoadCounter", "underLoadCounter", "shortCounter",
            "classErrorCounter")

READ = """
const text = (selector, root = document) => root.querySelector(selector).textContent;
const shown = {message: Number(document.body.dataset.message), chip: text("#chip-state"), temperature: text("#chip-temperature"),
  budget: text("#budget-figure"), port: []};
for (let port = 0; port < 4; port++) {
  const socket = document.querySelector(`.socket[data-port="${port}"]`);
  const row = document.querySelector(`tr[data-port="${port}"]`);
  const share = document.querySelectorAll(".share")[port];
  const fields = {title: text("th", row), socket: text(".state", socket), socketWatts: text(".watts b", socket),
    share: share.hidden ? "" : share.textContent};
  for (const cell of row.querySelectorAll("td")) fields[cell.dataset.field] = cell.textContent;
  shown.port.push(fields);
}
return shown;
"""


def known(json, key):
    return str(json[key]) if key in json else "-"


def expected_port(json, number):
    name = json.get("name")
    state = STATES[json["operStatusWord"]]
    watts = json.get("powerConsumption")
    fields = {
        "title": f"Port {number} ({name})" if name else f"Port {number}",
        "socket": state,
        "state": state,
        "class": {"none": "-"}.get(json["powerClassificationWord"], json["powerClassificationWord"]),
        "detection": json["detectionStatusWord"] + (", " + json["faults"] if json.get("faults") else ""),
        "admin": {True: "on", False: "off", None: "-"}[json.get("enabled")],
        "limit": known(json, "limit_w") if json.get("enabled", True) else "-",
        "priority": known(json, "priority"),
        "volts": f"{json['voltage_dv'] / 10:.1f}" if "voltage_dv" in json else "-",
        "current": known(json, "current_ma"),
        "watts": known(json, "powerConsumption"),
        "socketWatts": known(json, "powerConsumption"),
        "share": f"{number}: {watts} W" if watts else "",
    }
    for counter in COUNTERS:
        fields[counter] = known(json, counter)
    return fields


def expected(json):
    limit, total = json["mainPower"], json["mainConsumption"]
    return {"chip": json["mainOperStatusWord"], "temperature": f"{json['deviceTemperature']} °C",
            "budget": f"{total} of {limit} W" + (", OVER" if total > limit else ""),
            "port": [expected_port(port, number) for number, port in enumerate(json["port"])]}


def differences(shown, wanted, left_out=()):
    """One line per difference."""
    lines = [f"{key}: {shown[key]!r} instead of {wanted[key]!r}" for key in ("chip", "temperature", "budget")
             if shown[key] != wanted[key]]
    for number, fields in enumerate(wanted["port"]):
        lines += [f"port {number} {key}: {shown['port'][number][key]!r} instead of {value!r}"
                  for key, value in fields.items() if key not in left_out and shown["port"][number][key] != value]
    return lines
