// The page of `zelcam view`: pictures, features, counters. No library, works without a network.
"use strict";

const byId = (id) => document.getElementById(id);
const token = new URLSearchParams(location.search).get("token") || "";

// --- requests ---------------------------------------------------------------------------------

function address(path, parameters = {}) {
  const query = new URLSearchParams(parameters);
  if (token) query.set("token", token);
  return "/api/" + path + "?" + query;
}

async function ask(path, parameters) {
  const answer = await fetch(address(path, parameters));
  const value = await answer.json();
  if (!answer.ok) throw new Error(value.error);
  return value;
}

async function tell(path, body) {
  const text = typeof body === "string" ? body : JSON.stringify(body);
  const answer = await fetch(address(path), { method: "POST", body: text, headers: { "X-Zelcam": "1" } });
  const value = await answer.json();
  if (!answer.ok) throw new Error(value.error);
  return value;
}

function say(text, bad = false) {
  byId("message").textContent = text;
  byId("message").className = bad ? "bad" : "";
}

const later = (ms) => new Promise((done) => setTimeout(done, ms));

// --- pictures ---------------------------------------------------------------------------------

// One camera's picture. The next frame is asked for while this one is drawn, no more: a slow browser
// gets fewer frames, never old ones.
class Picture {
  constructor(index, info) {
    this.index = index;
    this.info = info;
    this.figure = byId("picture").content.firstElementChild.cloneNode(true);
    this.canvas = this.figure.querySelector("canvas");
    this.caption = this.figure.querySelector("figcaption");
    this.zoom = 1;          // screen pixels per picture pixel, as a multiple of what fits
    this.center = [0.5, 0.5];
    this.frame = null;      // what the server said about it
    this.bitmap = null;
    this.drawn = 0;
    this.rate = 0;
    this.since = performance.now();
    this.listen();
    byId("pictures").append(this.figure);
    this.live();
  }

  listen() {
    // Not by focus alone: Tab has to get past a picture without leaving the chosen camera.
    this.figure.addEventListener("pointerdown", (event) => {
      this.dragged = [event.clientX, event.clientY];
      this.figure.focus();
      choose(this.index);
    });
    this.figure.addEventListener("pointerup", () => { this.dragged = null; });
    this.figure.addEventListener("pointermove", (event) => {
      if (this.dragged && event.buttons) {
        this.move((this.dragged[0] - event.clientX) / this.scale(), (this.dragged[1] - event.clientY) / this.scale());
        this.dragged = [event.clientX, event.clientY];
      }
      this.pointAt(event);
    });
    this.figure.addEventListener("wheel", (event) => { event.preventDefault(); this.zoomBy(event.deltaY < 0 ? 1.25 : 0.8); });
    this.figure.addEventListener("keydown", (event) => {
      const step = 40 / this.scale();
      const keys = { Enter: () => choose(this.index), " ": () => choose(this.index), "+": () => this.zoomBy(1.25), "=": () => this.zoomBy(1.25), "-": () => this.zoomBy(0.8),
        0: () => { this.zoom = 1; this.center = [0.5, 0.5]; },
        ArrowLeft: () => this.move(-step, 0), ArrowRight: () => this.move(step, 0),
        ArrowUp: () => this.move(0, -step), ArrowDown: () => this.move(0, step) };
      if (keys[event.key]) { event.preventDefault(); keys[event.key](); this.draw(); }
    });
  }

  zoomBy(factor) { this.zoom = Math.min(64, Math.max(1, this.zoom * factor)); this.draw(); }

  move(dx, dy) {
    if (!this.frame) return;
    this.center = [Math.min(1, Math.max(0, this.center[0] + dx / this.frame.width)),
      Math.min(1, Math.max(0, this.center[1] + dy / this.frame.height))];
    this.draw();
  }

  // Screen pixels per picture pixel.
  scale() {
    const box = this.figure.getBoundingClientRect();
    return this.frame ? this.zoom * Math.min(box.width / this.frame.width, box.height / this.frame.height) : 1;
  }

  // Full size when zoomed in, else every n-th pixel of a picture that is larger than its place.
  shrink() { return Math.max(1, Math.floor(1 / (this.scale() * devicePixelRatio) + 0.01)); }

  // What the server answers: its status, and what it says about the frame with the picture itself.
  async take(after) {
    const answer = await fetch(address(this.index + "/frame", { after, format: byId("format").value,
      quality: byId("quality").value, shrink: this.frame ? this.shrink() : 1 }));
    if (answer.status === 200) return { frame: JSON.parse(answer.headers.get("X-Frame")), blob: await answer.blob() };
    return { error: answer.status === 204 ? "" : (await answer.json()).error };
  }

  request(after) {
    const asked = this.take(after);
    asked.catch(() => {}); // told where it is awaited
    return asked;
  }

  async live() {
    let asked = null;
    for (;;) {
      try {
        const { frame, blob, error } = await (asked || this.request(this.frame ? this.frame.sequence : 0));
        asked = null;
        if (frame) {
          asked = this.request(frame.sequence); // on its way while this one is decoded
          const bitmap = await createImageBitmap(blob);
          this.frame = frame;
          if (this.bitmap) this.bitmap.close();
          this.bitmap = bitmap;
          this.count();
          this.draw();
        } else if (error) {
          say(error, true);
          await later(500);
        }
      } catch (error) {
        asked = null;
        this.gone("the viewer does not answer: " + error.message);
        await later(1000);
      }
    }
  }

  count() {
    this.drawn += 1;
    const now = performance.now();
    if (now - this.since > 1000) {
      this.rate = this.drawn / (now - this.since) * 1000;
      this.drawn = 0;
      this.since = now;
    }
  }

  gone(text) {
    this.figure.classList.add("gone");
    this.caption.textContent = text;
  }

  draw() {
    if (!this.bitmap) return;
    const box = this.figure.getBoundingClientRect();
    const dots = devicePixelRatio;
    const width = Math.round(box.width * dots), height = Math.round(box.height * dots);
    if (this.canvas.width !== width || this.canvas.height !== height) {
      this.canvas.width = width;
      this.canvas.height = height;
    }
    const paint = this.canvas.getContext("2d");
    const scale = this.scale() * dots;
    const left = width / 2 - this.center[0] * this.frame.width * scale;
    const top = height / 2 - this.center[1] * this.frame.height * scale;
    paint.imageSmoothingEnabled = scale < 2;
    paint.clearRect(0, 0, width, height);
    paint.drawImage(this.bitmap, left, top, this.frame.width * scale, this.frame.height * scale);
    this.place = { left: left / dots, top: top / dots };
    if (byId("marks").checked) markExposure(paint, width, height);
    if (byId("cross").checked) {
      paint.strokeStyle = "#f0f";
      paint.beginPath();
      const x = left + this.frame.width * scale / 2, y = top + this.frame.height * scale / 2;
      paint.moveTo(x, 0); paint.lineTo(x, height);
      paint.moveTo(0, y); paint.lineTo(width, y);
      paint.stroke();
    }
    if (!this.figure.classList.contains("gone")) {
      this.caption.textContent = `${this.info.display}\n#${this.frame.id}  ${this.frame.width} x ${this.frame.height}` +
        `  ${this.rate.toFixed(1)} fps shown${this.pixel ? "\n" + this.pixel : ""}`;
    }
  }

  async pointAt(event) {
    if (!this.frame || !this.place || this.asking) return;
    const box = this.figure.getBoundingClientRect();
    const x = Math.floor((event.clientX - box.left - this.place.left) / this.scale());
    const y = Math.floor((event.clientY - box.top - this.place.top) / this.scale());
    this.pixel = "";
    if (x < 0 || y < 0 || x >= this.frame.width || y >= this.frame.height) return;
    this.asking = true;
    try {
      const answer = await ask(this.index + "/pixel", { x, y });
      this.pixel = `(${x}, ${y}) = ${answer.values.join(" ")} of ${2 ** answer.bits - 1}`;
    } catch (error) { this.pixel = ""; }
    await later(50);
    this.asking = false;
  }
}

// Red where a colour is at its end, blue where all of it is dark.
function markExposure(paint, width, height) {
  const image = paint.getImageData(0, 0, width, height);
  const data = image.data;
  for (let i = 0; i < data.length; i += 4) {
    if (!data[i + 3]) continue;
    if (data[i] > 252 || data[i + 1] > 252 || data[i + 2] > 252) { data[i] = 255; data[i + 1] = 0; data[i + 2] = 0; }
    else if (data[i] < 3 && data[i + 1] < 3 && data[i + 2] < 3) { data[i] = 0; data[i + 1] = 64; data[i + 2] = 255; }
  }
  paint.putImageData(image, 0, 0);
}

// Histogram and focus measure (mean squared difference of neighbours) of a small copy.
const small = Object.assign(document.createElement("canvas"), { width: 320, height: 200 });

function measure(picture) {
  if (!picture.bitmap) return;
  const paint = small.getContext("2d", { willReadFrequently: true });
  // A piece of the middle with every pixel: shrinking would hide what focus means.
  const width = Math.min(small.width, picture.bitmap.width), height = Math.min(small.height, picture.bitmap.height);
  const counts = [new Uint32Array(256), new Uint32Array(256), new Uint32Array(256)];
  paint.drawImage(picture.bitmap, 0, 0, small.width, small.height);
  const all = paint.getImageData(0, 0, small.width, small.height).data;
  for (let i = 0; i < all.length; i += 4) for (let c = 0; c < 3; c++) counts[c][all[i + c]]++;
  paint.drawImage(picture.bitmap, (picture.bitmap.width - width) >> 1, (picture.bitmap.height - height) >> 1, width, height, 0, 0, width, height);
  const middle = paint.getImageData(0, 0, width, height).data;
  let sum = 0, n = 0;
  for (let y = 0; y < height; y++) for (let x = 1; x < width; x++) {
    const at = 4 * (y * width + x), d = middle[at + 1] - middle[at - 3];
    sum += d * d;
    n++;
  }
  picture.focus = n ? sum / n : 0;
  drawHistogram(counts);
}

function drawHistogram(counts) {
  const canvas = byId("histogram"), paint = canvas.getContext("2d");
  paint.clearRect(0, 0, canvas.width, canvas.height);
  paint.globalCompositeOperation = "source-over";
  const most = Math.log1p(Math.max(1, ...counts.map((c) => Math.max(...c))));
  const grey = counts[0].every((n, x) => n === counts[1][x] && n === counts[2][x]);
  (grey ? ["#888"] : ["#f008", "#0a08", "#06f8"]).forEach((colour, c) => {
    paint.fillStyle = colour;
    for (let x = 0; x < 256; x++) {
      const h = Math.log1p(counts[c][x]) / most * canvas.height;
      paint.fillRect(x, canvas.height - h, 1, h);
    }
  });
}

// --- features ---------------------------------------------------------------------------------

let features = [];

async function loadFeatures() {
  try {
    features = (await ask(chosen + "/features", { level: byId("level").value })).features;
    showFeatures();
  } catch (error) { say(error.message, true); }
}

function showFeatures() {
  const part = byId("filter").value.toLowerCase();
  // The editor that has the keyboard keeps it when all are made anew.
  const held = byId("features").contains(document.activeElement) && document.activeElement.getAttribute("aria-label");
  byId("features").replaceChildren(...features
    .filter((feature) => part ? feature.type !== "Category" && feature.name.toLowerCase().includes(part) : true)
    .map((feature) => feature.type === "Category" ? heading(feature) : row(feature)));
  const again = held && byId("features").querySelector(`[aria-label="${CSS.escape(held)}"]`);
  if (again) again.focus({ preventScroll: true });
}

function heading(feature) {
  const line = document.createElement("div");
  line.className = "category";
  line.style.paddingLeft = feature.depth + "em";
  line.textContent = feature.display || feature.name;
  return line;
}

function row(feature) {
  const line = document.createElement("div"), name = document.createElement("span");
  line.className = "feature";
  line.dataset.name = feature.name;
  name.textContent = feature.name;
  name.title = feature.name + ": " + feature.description;
  name.style.paddingLeft = feature.depth + "em";
  line.append(name, editor(feature));
  return line;
}

async function change(name, value) {
  try {
    await tell(chosen + "/feature", { name, value: String(value) });
    say(`${name} = ${value}`);
  } catch (error) { say(error.message, true); }
  // One feature moves the limits and the access of others.
  await loadFeatures();
}

function element(tag, properties) { return Object.assign(document.createElement(tag), properties); }

function editor(feature) {
  const writable = feature.access === "RW" || feature.access === "WO";
  const label = (made) => { made.setAttribute("aria-label", feature.name); return made; };
  if (feature.type === "Command") {
    return label(element("button", { textContent: "run", disabled: !writable, onclick: () => run(feature.name) }));
  }
  if (!writable && feature.access !== "NA" && !lockable(feature)) {
    return element("output", { textContent: `${feature.value ?? ""} ${feature.unit ?? ""}`, title: String(feature.value ?? "") });
  }
  const off = feature.access === "NA";
  if (feature.type === "Boolean") {
    return label(element("input", { type: "checkbox", checked: feature.value === true, disabled: off, onchange: (e) => change(feature.name, e.target.checked) }));
  }
  if (feature.type === "Enumeration") {
    const list = label(element("select", { disabled: off, onchange: (e) => change(feature.name, e.target.value) }));
    list.append(...(feature.entries || []).map((entry) => element("option", { value: entry, textContent: entry, selected: entry === feature.value })));
    return list;
  }
  return numberEditor(feature, off, label);
}

// Locked while frames come, but changed with the acquisition stopped for a moment.
function lockable(feature) { return ["Width", "Height", "PixelFormat"].includes(feature.name) || /^(Binning|Decimation)/.test(feature.name); }

function numberEditor(feature, off, label) {
  const field = label(element("input", { value: feature.value ?? "", disabled: off, title: feature.unit || "",
    type: feature.type === "String" ? "text" : "number", onchange: (e) => change(feature.name, e.target.value) }));
  if (feature.type === "String") return field;
  field.step = feature.type === "Float" ? "any" : feature.increment || 1;
  if (feature.min !== undefined) field.min = feature.min;
  if (feature.max !== undefined) field.max = feature.max;
  const span = feature.max - feature.min;
  if (!(span > 0) || span > 1e7) return field;
  const both = element("div", { className: "both" });
  const slider = element("input", { type: "range", min: feature.min, max: feature.max, disabled: off,
    step: feature.type === "Float" ? span / 1000 : feature.increment || 1, value: feature.value,
    oninput: (e) => { field.value = e.target.value; }, onchange: (e) => change(feature.name, e.target.value) });
  slider.setAttribute("aria-label", feature.name + " slider");
  both.append(slider, field);
  return both;
}

async function run(name) {
  try { await tell(chosen + "/command", { name }); say(name + " done"); } catch (error) { say(error.message, true); }
}

// --- state ------------------------------------------------------------------------------------

let pictures = [], chosen = 0, lost = false, state = {};

function choose(index) {
  if (index === chosen && features.length) return;
  chosen = index;
  pictures.forEach((picture, i) => picture.figure.classList.toggle("chosen", i === index && pictures.length > 1));
  [...byId("cameras").children].forEach((button, i) => button.setAttribute("aria-pressed", i === index));
  loadFeatures();
}

async function watch() {
  for (;;) {
    for (const picture of pictures) {
      try {
        const now = await ask(picture.index + "/state");
        if (now.message) picture.gone(now.message); else picture.figure.classList.remove("gone");
        if (picture.index === chosen) show(now, picture);
      } catch (error) { picture.gone(error.message); }
    }
    await later(500);
  }
}

function show(now, picture) {
  state = now;
  if (now.message) say(now.message, true);
  else if (lost) { say("the camera is back"); loadFeatures(); }
  lost = Boolean(now.message);
  if (now.record_error) say(now.record_error, true);
  measure(picture);
  const rows = { "frames per second": now.frames_per_second.toFixed(1), "frames": now.frames, "skipped or lost": now.lost, "incomplete": now.incomplete,
    "shown per second": picture.rate.toFixed(1), "age in the viewer": picture.frame ? picture.frame.age_ms.toFixed(1) + " ms" : "",
    "focus": picture.focus === undefined ? "" : picture.focus.toFixed(1),
    "recorded frames": now.recording ? now.record_frames : "" };
  byId("counters").replaceChildren(...Object.entries(rows).map(([name, value]) => {
    const line = element("tr", {});
    line.append(element("th", { textContent: name, scope: "row" }), element("td", { textContent: value }));
    return line;
  }));
  byId("run").textContent = now.running ? "Stop" : "Start";
  byId("record").textContent = now.recording ? "End recording" : "Record";
  byId("record").setAttribute("aria-pressed", now.recording);
  byId("events").replaceChildren(...now.events.slice().reverse().map((event) =>
    element("li", { value: event.number, textContent: `${event.name} ${event.data}` })));
}

function act(id, work) {
  byId(id).addEventListener("click", async () => {
    try { await work(); } catch (error) { say(error.message, true); }
  });
}

act("run", async () => { await tell(chosen + "/acquisition", { running: !state.running }); await loadFeatures(); });
act("trigger", () => run("TriggerSoftware"));
act("snapshot", async () => say("saved " + (await tell(chosen + "/snapshot", {})).file));
act("record", async () => say((state.recording ? "recorded " : "recording ") +
  (await tell(chosen + "/record", { running: !state.recording })).file));
act("save", async () => {
  const answer = await fetch(address(chosen + "/settings"));
  if (!answer.ok) throw new Error((await answer.json()).error);
  const link = element("a", { href: URL.createObjectURL(await answer.blob()), download: pictures[chosen].info.serial + "-settings.txt" });
  link.click();
  URL.revokeObjectURL(link.href);
});
act("load", () => byId("file").click());
byId("file").addEventListener("change", async () => {
  try {
    await tell(chosen + "/settings", await byId("file").files[0].text());
    say("settings loaded");
    await loadFeatures();
  } catch (error) { say(error.message, true); }
  byId("file").value = "";
});
byId("filter").addEventListener("input", showFeatures);
byId("level").addEventListener("change", loadFeatures);
addEventListener("resize", () => pictures.forEach((picture) => picture.draw()));

async function start() {
  try {
    const { cameras } = await ask("cameras");
    pictures = cameras.map((info, index) => new Picture(index, info));
    byId("cameras").append(...cameras.map((info, index) => element("button", { textContent: info.display, onclick: () => choose(index) })));
    choose(0);
    watch();
  } catch (error) { say(error.message, true); }
}

start();
