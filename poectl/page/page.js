"use strict";
(() => {
  const PORTS = [0, 1, 2, 3];
  // Words and tones of what the service reports; each tone also has an icon.
  const STATES = {
    DISABLED: ["Disabled", "off"], SEARCHING: ["Searching", "search"], DELIVERINGPOWER: ["Delivering power", "on"],
    FAULT: ["Fault", "bad"], TEST: ["Test", "search"], OTHERFAULT: ["Other fault", "bad"],
  };
  const CHIP = { running: ["running", "on"], unchecked: ["unchecked", "unknown"], UNREACHABLE: ["UNREACHABLE", "bad"] };
  // What a socket says of the PD's signature.
  const SIGNATURES = {
    short: "signature: short", cpd_too_high: "signature: capacitance too high", rsig_too_low: "signature: resistance too low",
    rsig_too_high: "signature: resistance too high", open_circuit: "no device",
  };
  const GOOD_EVENTS = ["chipRecovered", "thermalShutdownOver", "busErrorOver", "resumed"];
  const COUNTERS = [
    ["invalidSignatureCounter", "invalid"], ["powerDeniedCounter", "denied"], ["overLoadCounter", "overload"],
    ["underLoadCounter", "underload"], ["shortCounter", "short"], ["classErrorCounter", "classerr"],
  ];
  const MAX_SAMPLES = 600;
  const MAX_CHANGES = 200;
  const RECENT = 5; // snapshots for which a counter counts as changed
  const MAX_PORT_W = 40;
  const RETRY_MS = 3000;
  const NOT_KNOWN = "-";

  const byId = (id) => document.getElementById(id);
  const known = (value) => (value === undefined || value === null ? NOT_KNOWN : String(value));
  const seconds = (ms) => (ms / 1000).toFixed(1) + " s";

  function make(name, attributes = {}, ...children) {
    const isSvg = ["svg", "path", "rect", "line", "text", "use", "circle"].includes(name);
    const element = isSvg ? document.createElementNS("http://www.w3.org/2000/svg", name) : document.createElement(name);
    for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
    element.append(...children);
    return element;
  }

  // Changes the page only where it differs, so that a reader of the screen is not disturbed.
  function setText(element, text) {
    if (element.textContent !== text) element.textContent = text;
  }

  function icon(tone) {
    return make("svg", { class: "icon", "aria-hidden": "true" }, make("use", { href: "#icon-" + tone }));
  }

  // A state as icon and word.
  function setState(element, [word, tone]) {
    if (element.textContent !== word || element.dataset.tone !== tone) element.replaceChildren(icon(tone), word);
    element.dataset.tone = tone;
  }

  // ---- what the page knows

  const data = { snapshot: null, arrived: 0, staleAfter: 5000, origin: "", samples: [], changes: [], card: null, note: "", chosen: 0, connected: false };
  const changedAt = PORTS.map(() => ({})); // the number of the snapshot that brought a counter's last change
  const token = location.hash.slice(1);

  function stateOf(port) {
    if (port.operStatusWord !== undefined) return STATES[port.operStatusWord] || [port.operStatusWord, "unknown"];
    return port.powered === undefined ? [NOT_KNOWN, "unknown"] : port.powered ? ["Power on", "on"] : ["Power off", "off"];
  }

  const classOf = (port) => (port.powerClassificationWord === undefined || port.powerClassificationWord === "none" ? NOT_KNOWN : port.powerClassificationWord);
  const adminOf = (port) => (port.enabled === undefined ? NOT_KNOWN : port.enabled ? "on" : "off");
  const detectionOf = (port) => known(port.detectionStatusWord) + (port.faults ? ", " + port.faults : "");
  const whyOf = (port) => (port.enabled === false ? "switched off" : [SIGNATURES[port.detectionStatusWord], port.faults].filter(Boolean).join(", "));
  const voltsOf = (port) => (port.voltage_dv === undefined ? NOT_KNOWN : (port.voltage_dv / 10).toFixed(1));
  const limitOf = (port) => (port.enabled === false ? NOT_KNOWN : known(port.limit_w));

  // ---- front panel

  const JACK = [
    ["path", { class: "cable plugged", d: "M80 84V60" }],
    ["path", { class: "shell", d: "M34 4h92a6 6 0 0 1 6 6v62a6 6 0 0 1-6 6H34a6 6 0 0 1-6-6V10a6 6 0 0 1 6-6z" }],
    ["path", { class: "hole", d: "M42 12h76v44h-12v7h-12v7H66v-7H54v-7H42z" }],
    ...[50, 58, 66, 74, 82, 90, 98, 106].map((x) => ["rect", { class: "pin", x: x, y: 12, width: 3.5, height: 15 }]),
    ["path", { class: "plug plugged", d: "M49 24h62v30h-12v8h-12v6H73v-6H61v-8H49z" }],
    ["path", { class: "cable plugged", d: "M80 66V90" }],
    ["circle", { class: "led led-fault", cx: 37, cy: 68, r: 4.5 }],
    ["circle", { class: "led led-power", cx: 123, cy: 68, r: 4.5 }],
  ];

  function makeSocket(port) {
    const part = (name) => make("span", { class: name });
    const jack = make("svg", { class: "jack", viewBox: "0 0 160 84", "aria-hidden": "true" }, ...JACK.map(([name, attributes]) => make(name, attributes)));
    const socket = make("button", { type: "button", class: "socket", "data-port": port, "aria-pressed": "false" },
      part("title"), part("class"), jack, part("state"), part("watts"), make("span", { class: "meter" }, make("i")), part("why"));
    socket.addEventListener("click", () => choose(port));
    return socket;
  }

  function drawSocket(socket, number, port) {
    const tone = stateOf(port)[1];
    const title = socket.querySelector(".title");
    const limit = limitOf(port);
    socket.dataset.tone = tone;
    socket.dataset.plugged = String(tone === "on" || !["unknown", "open_circuit", undefined].includes(port.detectionStatusWord));
    title.replaceChildren("Port " + number, ...(port.name ? [make("small", {}, port.name)] : []));
    setText(socket.querySelector(".class"), classOf(port) === NOT_KNOWN ? "" : "class " + classOf(port));
    setState(socket.querySelector(".state"), stateOf(port));
    socket.querySelector(".watts").replaceChildren(make("b", {}, known(port.powerConsumption)), make("span", {}, limit === NOT_KNOWN ? " W" : " of " + limit + " W"));
    const share = (port.powerConsumption || 0) / (port.limit_w || MAX_PORT_W);
    socket.querySelector(".meter i").style.width = Math.min(100, 100 * share) + "%";
    setText(socket.querySelector(".why"), whyOf(port));
  }

  function choose(port) {
    data.chosen = port;
    for (const element of document.querySelectorAll(".socket")) element.setAttribute("aria-pressed", String(Number(element.dataset.port) === port));
    for (const row of byId("rows").children) row.dataset.chosen = String(Number(row.dataset.port) === port);
    setText(byId("chosen"), String(port));
    drawCard();
  }

  // ---- budget and history

  function drawBudget(snapshot) {
    const limit = snapshot.mainPower;
    const total = snapshot.mainConsumption;
    const figure = byId("budget-figure");
    const isKnown = limit !== undefined && total !== undefined;
    setText(figure, !isKnown ? "needs transfers" : total + " of " + limit + " W" + (total > limit ? ", OVER" : ""));
    figure.dataset.tone = !isKnown ? "unknown" : total > limit ? "bad" : total >= 0.9 * limit && total > 0 ? "search" : "off";
    const full = Math.max(limit || 0, total || 0, 1);
    PORTS.forEach((number) => {
      const watts = snapshot.port[number].powerConsumption || 0;
      const share = byId("budget").children[number];
      share.hidden = watts === 0;
      share.style.flex = "0 0 " + (100 * watts) / full + "%";
      setText(share.firstChild, number + ": " + watts + " W");
      setText(byId("legend").children[number].querySelector("b"), known(snapshot.port[number].powerConsumption) + " W");
    });
    setText(byId("legend").lastChild.querySelector("b"), isKnown ? Math.max(0, limit - total) + " W" : NOT_KNOWN);
    byId("budget").setAttribute("aria-label", PORTS.map((number) => "port " + number + ": " + known(snapshot.port[number].powerConsumption) + " W").join(", ") + "; " + figure.textContent);
  }

  // Rows of samples without a gap between them; a sample is [ms, limit, W of port 0, 1, 2, 3].
  function runsOf(samples) {
    const gap = 2.5 * Math.max(1000, (data.snapshot && data.snapshot.period_ms) || 0);
    const runs = [];
    samples.forEach((sample, place) => {
      if (sample.includes(null)) return;
      if (place === 0 || runs.length === 0 || sample[0] - samples[place - 1][0] > gap) runs.push([]);
      runs[runs.length - 1].push(sample);
    });
    return runs;
  }

  const below = (sample, port) => PORTS.slice(0, port).reduce((sum, number) => sum + sample[2 + number], 0);

  function spanText(ms) {
    return ms < 120000 ? Math.round(ms / 1000) + " s" : ms < 7200000 ? Math.round(ms / 60000) + " min" : Math.round(ms / 3600000) + " h";
  }

  function drawHistory() {
    const svg = byId("history");
    const runs = runsOf(data.samples);
    const all = runs.flat();
    if (all.length === 0) {
      svg.replaceChildren();
      setText(byId("history-text"), "Consumption: no data yet");
      return;
    }
    const width = svg.clientWidth || 800;
    const left = 34, right = width - 4, top = 8, bottom = 128;
    const first = all[0][0], last = all[all.length - 1][0];
    const most = Math.max(...all.map((sample) => Math.max(sample[1], below(sample, 4))), 1);
    const x = (time) => (last === first ? right : left + ((right - left) * (time - first)) / (last - first));
    const y = (watts) => bottom - ((bottom - top) * watts) / most;
    const steps = (run, value) => run.map((sample, place) => (place === 0 ? "M" : "H" + x(sample[0]).toFixed(1) + "V") + (place === 0 ? x(sample[0]).toFixed(1) + " " : "") + y(value(sample)).toFixed(1)).join("");
    const area = (run, port) => steps(run, (sample) => below(sample, port + 1)) +
      "V" + y(below(run[run.length - 1], port)).toFixed(1) +
      run.slice(0, -1).reverse().map((sample, place) => "H" + x(run[run.length - 1 - place][0]).toFixed(1) + "V" + y(below(sample, port)).toFixed(1)).join("") + "H" + x(run[0][0]).toFixed(1) + "Z";
    const parts = [0, most / 2, most].map((watts) => make("line", { class: "grid", x1: left, x2: right, y1: y(watts), y2: y(watts) }));
    for (const run of runs) {
      for (const port of PORTS) {
        const d = area(run, port);
        parts.push(make("path", { class: "port-" + port, d: d }));
        if (port > 0) parts.push(make("path", { fill: "url(#weave-" + port + ")", d: d }));
      }
      parts.push(make("path", { class: "limit", d: steps(run, (sample) => sample[1]) }));
    }
    const label = (text, place, height, anchor) => make("text", { x: place, y: height, "text-anchor": anchor }, text);
    parts.push(label("0", left - 6, bottom + 4, "end"), label(String(Math.round(most / 2)), left - 6, y(most / 2) + 4, "end"), label(String(most), left - 6, top + 4, "end"),
      label(spanText(last - first) + " ago", left, 146, "start"), label("now", right, 146, "end"));
    svg.replaceChildren(...parts);
    const totals = all.map((sample) => below(sample, 4));
    setText(byId("history-text"), "Consumption (W) in the last " + spanText(last - first) + ": " + Math.min(...totals) + " to " + Math.max(...totals) + " W; the dashed line is the limit of the active bank.");
  }

  // ---- table and events

  const COLUMNS = [
    ["State", "state", (port) => stateOf(port)[0], "text"], ["Admin", "admin", adminOf, "text"], ["Class", "class", classOf], ["W", "watts", (port) => known(port.powerConsumption)],
    ["Limit W", "limit", limitOf], ["Priority", "priority", (port) => known(port.priority)],
    ["V", "volts", voltsOf], ["mA", "current", (port) => known(port.current_ma)],
    ...COUNTERS.map(([key, heading]) => [heading, key, (port) => known(port[key])]), ["Detection", "detection", detectionOf, "text"],
  ];

  // The columns that stay when nothing is known of them: a status message has no voltages and no limits.
  const KEPT = ["state", "class", "watts"];

  function drawTable(snapshot) {
    snapshot.port.forEach((port, number) => {
      const row = byId("rows").children[number];
      setText(row.firstChild, "Port " + number + (port.name ? " (" + port.name + ")" : ""));
      COLUMNS.forEach(([, field, text], place) => {
        const cell = row.children[place + 1];
        if (field === "state") setState(cell, stateOf(port));
        else setText(cell, text(port));
        cell.classList.toggle("changed", changedAt[number][field] > data.snapshot.message - RECENT);
      });
    });
    COLUMNS.forEach((column, place) => {
      const isKnown = KEPT.includes(column[1]) || [...byId("rows").children].some((row) => row.children[place + 1].textContent !== NOT_KNOWN);
      for (const row of [byId("heads"), ...byId("rows").children]) row.children[place + 1].hidden = !isKnown;
    });
  }

  function noteChanges(next) {
    const before = data.snapshot;
    next.port.forEach((port, number) => {
      for (const [key] of COUNTERS) {
        if (before && before.port[number][key] !== undefined && before.port[number][key] !== port[key]) changedAt[number][key] = next.message;
      }
    });
  }

  function toneOf(event) {
    if (event.event === "state") return (STATES[event.to] || ["", "unknown"])[1];
    if (event.event === "counter") return "search";
    return GOOD_EVENTS.includes(event.event) ? "on" : "bad";
  }

  function eventItem(change) {
    const time = new Date(change.time);
    const tone = toneOf(change.event);
    const mark = make("span", { "data-tone": tone }, icon(tone));
    return make("li", {}, make("time", { datetime: change.time }, time.toLocaleTimeString("en-GB")), mark, make("span", {}, change.text));
  }

  function addEvent(change) {
    const list = byId("events");
    list.prepend(eventItem(change)); // the newest first
    while (list.children.length > MAX_CHANGES) list.lastChild.remove();
    byId("no-events").hidden = true;
  }

  // ---- head, and all together

  function drawAge() {
    const age = performance.now() - data.arrived;
    const isStale = Boolean(data.snapshot) && age >= data.staleAfter;
    const what = data.snapshot && data.snapshot.source === "console" ? "snapshot" : "message";
    setText(byId("age"), data.snapshot ? seconds(age) : NOT_KNOWN);
    byId("age").dataset.tone = isStale ? "bad" : "off";
    const reasons = [];
    if (!data.connected) reasons.push("No connection to poectl serve.");
    if (isStale) reasons.push("STALE: no " + what + " for " + seconds(age) + ".");
    if (data.note) reasons.push(data.note);
    if (data.snapshot && data.snapshot.devError) reasons.push("Bus error.");
    if (data.snapshot && data.snapshot.thermalShutdown) reasons.push("Thermal shutdown.");
    byId("banner").hidden = reasons.length === 0;
    setText(byId("banner"), reasons.join(" "));
    document.body.dataset.stale = String(isStale || !data.connected);
  }

  function drawHead(snapshot) {
    const [word, tone] = CHIP[snapshot.mainOperStatusWord] || [NOT_KNOWN, "unknown"];
    setText(byId("chip-state"), word);
    byId("chip-state").dataset.tone = tone;
    setText(byId("chip-temperature"), snapshot.deviceTemperature === undefined ? NOT_KNOWN : snapshot.deviceTemperature + " \u00b0C");
    const what = snapshot.source === "console" ? "snapshot" : "message";
    setText(byId("source"), what + " " + snapshot.message + " from the " + data.origin + ", " + new Date(snapshot.time).toLocaleTimeString("en-GB"));
    document.title = "Line card power: " + known(snapshot.mainConsumption) + " of " + known(snapshot.mainPower) + " W";
    document.body.dataset.message = snapshot.message;
  }

  function show(snapshot, age) {
    noteChanges(snapshot);
    data.snapshot = snapshot;
    data.arrived = performance.now() - age;
    drawHead(snapshot);
    snapshot.port.forEach((port, number) => drawSocket(byId("sockets").children[number], number, port));
    drawBudget(snapshot);
    drawTable(snapshot);
    drawAge();
  }

  // ---- the simulated card

  function drawCard() {
    byId("controls").hidden = !(token && data.card);
    if (!data.card) return;
    setText(byId("device-words"), "port " + data.chosen + ": " + data.card.port[data.chosen].words);
    byId("thermal").checked = data.card.thermal;
    byId("bus").checked = !data.card.busOk;
  }

  async function command(words) {
    try {
      const reply = await fetch("card", { method: "POST", headers: { "Poe-Token": token }, body: words });
      if (!reply.ok) setText(byId("answer"), (await reply.text()).trim());
    } catch (error) {
      setText(byId("answer"), "poectl serve does not answer");
    }
  }

  function draw(step) {
    const watts = data.card ? data.card.port[data.chosen].watts + step : 0;
    command("draw " + data.chosen + " " + Math.min(100, Math.max(0, watts)));
  }

  // ---- updates

  const updates = {
    start(all) {
      data.origin = all.origin;
      data.staleAfter = all.staleAfterMs;
      data.samples = all.samples;
      data.snapshot = null;
      byId("events").replaceChildren();
      byId("no-events").hidden = false;
      all.changes.forEach(addEvent);
      data.note = all.note;
      if (all.snapshot) show(all.snapshot, all.ageMs);
      else setText(byId("source"), "waiting for the first data from the " + data.origin);
      if (all.card) updates.card(all.card);
      drawHistory();
    },
    snapshot(next) {
      data.samples.push(next.sample);
      data.samples.splice(0, data.samples.length - MAX_SAMPLES);
      data.note = "";
      show(next.snapshot, next.ageMs);
      drawHistory();
    },
    change: addEvent,
    card(next) {
      data.card = next.state;
      if (next.answer) setText(byId("answer"), next.answer);
      drawCard();
    },
    note(next) {
      data.note = next.text;
      drawAge();
    },
  };

  function connect() {
    const source = new EventSource("events");
    for (const [name, take] of Object.entries(updates)) source.addEventListener(name, (event) => {
      data.connected = true;
      take(JSON.parse(event.data));
      drawAge();
    });
    source.addEventListener("error", () => {
      data.connected = false;
      drawAge();
      if (source.readyState === EventSource.CLOSED) setTimeout(connect, RETRY_MS); // the server has refused
    });
  }

  // ---- start

  byId("sockets").append(...PORTS.map(makeSocket));
  byId("budget").append(...PORTS.map((port) => make("span", { class: "share port-" + port, hidden: "" }, make("b"))));
  byId("legend").append(...PORTS.map((port) => make("li", {}, make("span", { class: "swatch port-" + port }), "port " + port + " ", make("b", {}, NOT_KNOWN))),
    make("li", {}, "free ", make("b", {}, NOT_KNOWN)));
  byId("heads").append(make("th", { scope: "col", class: "text" }, "Port"), ...COLUMNS.map(([heading, , , kind]) => make("th", { scope: "col", class: kind || "" }, heading)));
  byId("rows").append(...PORTS.map((port) => make("tr", { "data-port": port }, make("th", { scope: "row" }, "Port " + port),
    ...COLUMNS.map(([, field, , kind]) => make("td", { "data-field": field, class: kind || "" }, NOT_KNOWN)))));
  choose(0);

  byId("plug-form").addEventListener("submit", (event) => {
    event.preventDefault();
    command("plug " + data.chosen + " " + byId("device").value);
  });
  for (const button of document.querySelectorAll("[data-command]")) button.addEventListener("click", () => command(button.dataset.command.replace("PORT", data.chosen)));
  for (const button of document.querySelectorAll("[data-draw]")) button.addEventListener("click", () => draw(Number(button.dataset.draw)));
  byId("thermal").addEventListener("change", (event) => command("thermal " + (event.target.checked ? "on" : "off")));
  byId("bus").addEventListener("change", (event) => command("bus " + (event.target.checked ? "dead" : "ok")));
  document.addEventListener("keydown", (event) => {
    if (/^[0-3]$/.test(event.key) && !event.ctrlKey && !event.altKey && !event.metaKey && !["SELECT", "INPUT"].includes(event.target.tagName)) {
      choose(Number(event.key));
      byId("sockets").children[data.chosen].focus();
    }
  });
  window.addEventListener("resize", drawHistory);
  setInterval(drawAge, 500);
  drawAge();
  connect();
})();
