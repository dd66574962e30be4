'use strict';

// Everything is drawn by one rule: a chart ("lane") for each sensor, device and algorithm, in which
// the runs lie over each other, all over one axis of time.

const RUN_COLOURS = {
  light: ['#0067b1', '#c8550a', '#007d5c', '#a23b84', '#555f6a', '#806600'],
  dark: ['#58b4f0', '#f2a24a', '#41cfa2', '#e79acb', '#c3cad1', '#dfc94f'],
};
// Dashes beside the colours: for readers who cannot tell these apart, and for paper.
const RUN_DASHES = [[], [7, 3], [2, 3], [10, 3, 2, 3], [5, 2, 2, 2, 2, 2], [14, 4]];
// The scenario Default has no colour of its own.
const SCENARIO_TINTS = {
  light: ['130,100,220', '120,160,30', '215,70,120', '0,150,150', '150,110,60'],
  dark: ['150,125,255', '160,205,60', '255,105,155', '60,200,200', '205,160,100'],
};
const ALARM = { light: '#b3261e', dark: '#ff8a80' };
const LANE_HEIGHT = { temperature: 150, device: 92, time: 34 };
const STILL_HEIGHT = 34; // of a device that never left level 0
const STRIP_ROW = 14;
const SHORTEST_WINDOW = 1000; // milliseconds

// ---- The data

// The inverse of what the writer of this file did: differences of the value and second differences
// of the time, in base 64 digits of five bits.
function decode(text) {
  const digits = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';
  const digitOf = new Map([...digits].map((digit, index) => [digit, index]));
  let position = 0;
  const next = () => {
    let number = 0;
    let scale = 1;
    for (;;) {
      const digit = digitOf.get(text[position++]);
      number += (digit % 32) * scale;
      if (digit < 32) break;
      scale *= 32;
    }
    return number % 2 ? -(number - 1) / 2 : number / 2;
  };
  const times = [];
  const values = [];
  let time = 0;
  let step = 0;
  let value = 0;
  while (position < text.length) {
    step += next();
    time += step;
    value += next();
    times.push(time);
    values.push(value);
  }
  return { times, values };
}

// The value of the last point at or before a time; null without any.
function valueAt(course, time) {
  let low = 0;
  let high = course.times.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (course.times[middle] <= time) low = middle + 1;
    else high = middle;
  }
  return low ? course.values[low - 1] : null;
}

// The stretches between two changes, as {from, to, value}.
function stretchesOf(course, end) {
  return course.times.map((from, i) => ({
    from,
    to: i + 1 < course.times.length ? course.times[i + 1] : end,
    value: course.values[i],
  })).filter((stretch) => !Number.isNaN(stretch.value));
}

// The course with a point that is no number where each gap begins. What `holds` has its value up to
// there and again where the gap ends, all else at its own points alone.
function interrupted({ times, values }, gaps, holds) {
  const course = { times: [], values: [] };
  const add = (time, value) => {
    course.times.push(time);
    course.values.push(value);
  };
  let next = 0;
  for (const [from, to] of gaps) {
    while (next < times.length && times[next] <= from) add(times[next], values[next++]);
    if (next === 0) continue;
    // A line of steps ends at its last point.
    if (holds && times[next - 1] !== from) add(from, values[next - 1]);
    add(from + 1, NaN);
    if (holds && times[next] !== to) add(to, values[next - 1]);
  }
  while (next < times.length) add(times[next], values[next++]);
  return course;
}

function namedStretches({ names, points }, run) {
  return stretchesOf(interrupted(decode(points), run.gaps, true), run.duration).map((stretch) => ({ ...stretch, name: names[stretch.value] }));
}

// Where two lists of stretches are both in force.
function common(some, others) {
  const both = [];
  for (const a of some) {
    for (const b of others) {
      const from = Math.max(a.from, b.from);
      const to = Math.min(a.to, b.to);
      if (from < to) both.push({ from, to });
    }
  }
  return both;
}

function readRun(run, index) {
  run.index = index;
  run.shown = true;
  run.scenarios = namedStretches(run.scenarios, run);
  run.configurations = namedStretches(run.configurations, run);
  for (const track of [...run.sensors, ...run.devices, ...run.algorithms]) {
    track.run = run;
    const gaps = [...run.gaps, ...(track.gaps || [])].sort((a, b) => a[0] - b[0]);
    track.course = interrupted(decode(track.points), gaps, !run.sensors.includes(track));
    delete track.points;
  }
  for (const algorithm of run.algorithms) {
    const whole = [{ from: 0, to: run.duration }];
    const inScenario = run.scenarios.filter((stretch) => stretch.name === algorithm.scenario);
    const inConfiguration = run.configurations.filter((stretch) => stretch.name === algorithm.configuration);
    algorithm.inForce = common(run.scenarios.length ? inScenario : whole,
                               run.configurations.length ? inConfiguration : whole);
  }
  return run;
}

const { title, runs } = JSON.parse(document.getElementById('data').textContent);
runs.forEach(readRun);
const duration = Math.max(SHORTEST_WINDOW, ...runs.map((run) => run.duration));
const tintedScenarios = [...new Set(runs.flatMap((run) => run.scenarios.map((stretch) => stretch.name)))]
  .filter((name) => name !== 'Default');

// ---- Texts

const inDegrees = (millidegrees) => (Math.round(millidegrees / 100) / 10).toFixed(1);
const exactDegrees = (millidegrees) => String(millidegrees / 1000);
const twoDigits = (number) => String(number).padStart(2, '0');

function clock(time) {
  const seconds = Math.floor(time / 1000);
  return `${Math.floor(seconds / 3600)}:${twoDigits(Math.floor(seconds / 60) % 60)}:${twoDigits(seconds % 60)}`;
}

function exactClock(time) {
  const rest = Math.round(time % 1000);
  return clock(time) + (rest ? '.' + String(rest).padStart(3, '0') : '');
}

function element(name, properties = {}, ...children) {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
}

// ---- Colours

const root = document.documentElement;
const theme = () => (root.dataset.theme === 'dark' ? 'dark' : 'light');
const colourOf = (run) => RUN_COLOURS[theme()][run.index % RUN_COLOURS.light.length];
const dashOf = (run) => RUN_DASHES[run.index % RUN_DASHES.length];
const styleOf = (name) => getComputedStyle(root).getPropertyValue(name).trim();

function tintOf(scenario, strength) {
  const index = tintedScenarios.indexOf(scenario);
  if (index < 0) return null;
  const tints = SCENARIO_TINTS[theme()];
  return `rgba(${tints[index % tints.length]},${strength})`;
}

// A piece of the line with which a run is drawn.
function stroke(run) {
  const svg = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
  svg.setAttribute('class', 'stroke');
  svg.setAttribute('width', 24);
  svg.setAttribute('height', 4);
  svg.innerHTML = `<line x1="0" x2="24" y1="2" y2="2" stroke="${colourOf(run)}" stroke-width="2.5" ` +
    `stroke-dasharray="${dashOf(run).join(' ')}"/>`;
  return svg;
}

// ---- The view: what all charts have in common

const view = {
  window: [0, duration],
  cursor: null, // a time, or null
  thresholds: true,
  onPaper: false,
};
const lanes = [];
const charts = document.querySelector('.charts');
const shownRuns = () => runs.filter((run) => run.shown);

function setWindow(from, to) {
  const length = Math.min(duration, Math.max(SHORTEST_WINDOW, to - from));
  const start = Math.min(Math.max(0, (from + to - length) / 2), duration - length);
  view.window = [start, start + length];
  redraw();
}

function zoom(factor, centre = (view.window[0] + view.window[1]) / 2) {
  const [from, to] = view.window;
  setWindow(centre - (centre - from) * factor, centre + (to - centre) * factor);
}

// By a share of the window, as far as there is something to see.
function pan(share, [from, to] = view.window) {
  const move = Math.min(Math.max((to - from) * share, -from), duration - to);
  setWindow(from + move, to + move);
}

let redrawAsked = false;
function redraw() {
  if (redrawAsked) return;
  redrawAsked = true;
  requestAnimationFrame(() => {
    redrawAsked = false;
    drawAll();
  });
}

function drawAll() {
  for (const lane of lanes) lane.draw();
  showCursor();
}

// ---- Charts

// One chart. `tracks` holds what it shows of the runs, at most one track of each.
class Lane {
  constructor(kind, name, about, tracks) {
    this.kind = kind;
    this.name = name;
    this.tracks = tracks;
    this.shown = true;
    this.values = element('span', { className: 'values' });
    this.plot = element('div', { className: 'plot' });
    this.header = element('header', {}, element('h3', { textContent: name }),
                          element('span', { className: 'about', textContent: about }), this.values);
    this.section = element('section', { className: `lane ${kind}` }, this.header, this.plot);
    this.section.dataset.lane = `${kind}:${name}`;
  }

  shownTracks() { return this.tracks.filter((track) => track.run.shown); }
  height() { return LANE_HEIGHT[this.kind]; }
  visible() { return this.shown && (this.tracks.length === 0 || this.shownTracks().length > 0); }

  draw() {
    this.section.hidden = !this.visible();
    if (this.section.hidden) return;
    this.plot.style.height = `${this.height()}px`;
    const options = this.options();
    if (!this.graph) {
      this.graph = new Dygraph(this.plot, this.rows(), { ...this.fixedOptions(), ...options });
    } else {
      const grown = this.plot.clientWidth !== this.graph.width_ || this.height() !== this.graph.height_;
      this.graph.updateOptions(options, grown);
      if (grown) this.graph.resize();
    }
  }

  fixedOptions() {
    return {
      labels: ['time', ...this.columns()],
      interactionModel: {},
      legend: 'never',
      showLabelsOnHighlight: false,
      highlightCircleSize: 0,
      connectSeparatedPoints: true,
      strokeWidth: 1.6,
      xRangePad: 0,
      rightGap: 8,
      axisTickSize: 4,
      series: Object.fromEntries(this.tracks.map((track) =>
        [`r${track.run.index}`, { strokePattern: dashOf(track.run).length ? dashOf(track.run) : null }])),
      underlayCallback: (context, area, graph) => this.paint(context, area, graph),
      drawCallback: (graph) => this.paintOver(graph.hidden_ctx_, graph.getArea(), graph),
    };
  }

  options() {
    return {
      dateWindow: view.window,
      colors: this.tracks.length ? this.tracks.map((track) => colourOf(track.run)) : [styleOf('--ink')],
      visibility: this.tracks.length ? this.tracks.map((track) => track.run.shown) : [true],
      gridLineColor: styleOf('--grid'),
      axisLineColor: styleOf('--rule'),
      axes: {
        x: { drawAxis: this.hasTimes(), drawGrid: this.hasGrid(), ticker: timeTicks },
        y: { axisLabelWidth: parseInt(styleOf('--gutter'), 10), ticker: () => this.ticks(), drawGrid: this.hasGrid() },
      },
      valueRange: this.range(),
    };
  }

  columns() { return this.tracks.length ? this.tracks.map((track) => `r${track.run.index}`) : ['none']; }
  hasGrid() { return true; }
  hasTimes() { return false; }
  scaled(value) { return value; }
  range() { return [0, 1]; }
  ticks() { return []; }

  // A row for each time at which any of the runs has a point.
  rows() {
    const courses = this.tracks.map((track) => track.course);
    const next = courses.map(() => 0);
    const rows = [];
    for (;;) {
      let time = Infinity;
      courses.forEach((course, i) => { if (next[i] < course.times.length) time = Math.min(time, course.times[next[i]]); });
      if (time === Infinity) break;
      rows.push([time, ...courses.map((course, i) =>
        course.times[next[i]] === time ? this.scaled(this.lastAt(course, next, i, time)) : null)]);
    }
    this.extend(rows);
    return rows.length ? rows : [[0, ...this.columns().map(() => null)]];
  }

  // Several changes at one time leave the last.
  lastAt(course, next, i, time) {
    while (course.times[next[i] + 1] === time) ++next[i];
    return course.values[next[i]++];
  }

  extend() {}

  paint(context, area, graph) { this.paintBackground(context, area, graph); }
  paintBackground(context, area, graph) { paintScenarios(context, area, graph); }

  // What no line may cross. The axis at the foot is not on every sheet of paper.
  paintOver(context, area, graph) {
    if (view.onPaper && this.hasGrid()) paintTimes(context, area, graph);
  }

  describeAt(track, time) {
    const value = valueAt(track.course, time);
    return value === null || Number.isNaN(value) ? '–' : this.textOf(track, value);
  }

  showValues() {
    const shown = this.shownTracks();
    this.values.replaceChildren(...shown.map((track) => {
      const text = view.cursor === null ? this.resting(track) : this.describeAt(track, view.cursor);
      const value = element('span', { className: view.cursor === null ? 'peak' : 'value' });
      if (text && runs.length > 1) value.append(stroke(track.run));
      value.append(text);
      return value;
    }));
  }

  resting() { return ''; }
}

class TemperatureLane extends Lane {
  constructor(name, about, tracks) {
    super('temperature', name, about, tracks);
    this.algorithms = tracks.flatMap((track) => {
      const sensor = track.run.sensors.indexOf(track);
      return track.run.algorithms.filter((algorithm) => algorithm.sensor === sensor);
    });
    this.limits = [...new Set(tracks.map((track) => track.limit).filter((limit) => limit !== null))];
    this.fixedRange = this.findRange();
  }

  scaled(value) { return value / 1000; }
  textOf(track, value) { return `${inDegrees(value)} °C`; }
  resting(track) { return track.course.values.length ? `peak ${inDegrees(highest(track.course.values))} °C` : 'no sample'; }
  range() { return this.fixedRange; }

  // The temperatures with the thresholds around them; one far from all of them does not flatten
  // the course.
  findRange() {
    let low = Infinity;
    let high = -Infinity;
    for (const { course } of this.tracks) {
      for (const value of course.values) {
        if (value < low) low = value;
        if (value > high) high = value;
      }
    }
    if (low > high) return [0, 100];
    const reach = Math.max(4000, (high - low) * 0.4);
    const marks = [...this.limits, ...this.algorithms.flatMap((algorithm) => algorithm.thresholds.flat())];
    const near = marks.filter((mark) => mark > low - reach && mark < high + reach);
    low = Math.min(low, ...near);
    high = Math.max(high, ...near);
    const margin = Math.max(1000, (high - low) * 0.06);
    return [(low - margin) / 1000, (high + margin) / 1000];
  }

  ticks() {
    const [low, high] = this.fixedRange;
    const step = [1, 2, 5, 10, 20, 50, 100, 200, 500, 1000].find((size) => (high - low) / size <= 5) || 5000;
    const ticks = [];
    for (let value = Math.ceil(low / step) * step; value <= high; value += step)
      ticks.push({ v: value, label: `${value} °C` });
    return ticks;
  }

  paint(context, area, graph) {
    super.paint(context, area, graph);
    this.labels = [];
    if (view.thresholds) this.paintThresholds(context, area, graph);
    for (const limit of this.limits) this.paintLimit(context, area, graph, limit);
  }

  paintOver(context, area, graph) {
    super.paintOver(context, area, graph);
    paintLabels(context, area, this.labels);
  }

  paintThresholds(context, area, graph) {
    const labels = new Map();
    for (const algorithm of this.algorithms.filter((one) => one.run.shown)) {
      const colour = colourOf(algorithm.run);
      algorithm.thresholds.forEach(([reached, cleared], level) => {
        const top = graph.toDomYCoord(Math.max(reached, cleared) / 1000);
        const bottom = graph.toDomYCoord(Math.min(reached, cleared) / 1000);
        const line = graph.toDomYCoord(reached / 1000);
        for (const { left, width, right } of onScreen(algorithm.inForce, area, graph)) {
          context.globalAlpha = 0.1;
          context.fillStyle = colour;
          context.fillRect(left, top, width, bottom - top);
          context.globalAlpha = 0.7;
          context.strokeStyle = colour;
          context.lineWidth = 1;
          context.setLineDash([4, 3]);
          context.beginPath();
          context.moveTo(left, line);
          context.lineTo(left + width, line);
          context.stroke();
          const text = algorithm.thresholds.length > 1 ? `${exactDegrees(reached)} → ${level + 1}` : exactDegrees(reached);
          const known = labels.get(reached);
          if (!known || known.right < right) labels.set(reached, { text, right, width, y: line, colour });
        }
      });
    }
    context.setLineDash([]);
    context.globalAlpha = 1;
    this.labels = [...labels.values()];
  }

  paintLimit(context, area, graph, limit) {
    const y = graph.toDomYCoord(limit / 1000);
    if (y < area.y || y > area.y + area.h) return;
    context.strokeStyle = context.fillStyle = ALARM[theme()];
    context.lineWidth = 1.5;
    context.beginPath();
    context.moveTo(area.x, y);
    context.lineTo(area.x + area.w, y);
    context.stroke();
    setText(context, '600 10px', 'left');
    context.fillText(`limit ${exactDegrees(limit)} °C`, area.x + 4, y - 1);
  }
}

class DeviceLane extends Lane {
  constructor(name, about, tracks) {
    super('device', name, about, tracks);
    this.levels = (tracks.find((track) => track.levels.length) || { levels: [] }).levels;
    this.top = Math.max(1, this.levels.length - 1, ...tracks.map((track) => highest(track.course.values)));
    this.still = tracks.every((track) => highest(track.course.values) === 0);
  }

  height() { return this.still ? STILL_HEIGHT : super.height(); }
  fixedOptions() { return { ...super.fixedOptions(), stepPlot: true }; }
  // Downwards, as what the device gives goes down with each level.
  scaled(value) { return -value; }
  range() { return this.still ? [-1, 1] : [-1.06 * this.top, 0.06 * this.top]; }
  textOf(track, value) {
    return track.levels[value] === undefined ? `level ${value}` : `level ${value} · ${track.levels[value]}`;
  }

  ticks() {
    const every = Math.ceil((this.top + 1) / 5);
    const ticks = [];
    for (let level = 0; level <= (this.still ? 0 : this.top); level += every)
      ticks.push({ v: -level, label: shortened(this.levels[level]) ?? String(level) });
    return ticks;
  }

  // A level holds to the end of the run.
  extend(rows) {
    for (const track of this.tracks.filter((one) => one.course.times.length)) {
      const column = 1 + this.tracks.indexOf(track);
      let row = rows.find((one) => one[0] === track.run.duration);
      if (!row) {
        row = [track.run.duration, ...this.tracks.map(() => null)];
        rows.push(row);
        rows.sort((a, b) => a[0] - b[0]);
      }
      if (row[column] === null) row[column] = this.scaled(valueAt(track.course, track.run.duration));
    }
  }
}

// A row of bars for each run.
class StripLane extends Lane {
  constructor(kind, name, about, tracks) {
    super(kind, name, about, tracks);
    this.section.classList.add('strip');
  }

  hasGrid() { return false; }
  height() { return STRIP_ROW * Math.max(1, this.stripTracks().length) + 2; }
  stripTracks() { return this.shownTracks(); }
  rows() { return [[0, ...this.columns().map(() => null)]]; }

  paint(context, area, graph) {
    this.paintBackground(context, area, graph);
    setText(context, '10px', 'center', 'middle');
    this.stripTracks().forEach((track, row) => {
      for (const stretch of this.stretches(track)) {
        for (const { left, width } of onScreen([stretch], area, graph))
          this.paintBar(context, track, stretch, left, area.y + 1 + row * STRIP_ROW, Math.max(width, 1), STRIP_ROW - 3);
      }
    });
    context.globalAlpha = 1;
  }
}

class AlgorithmLane extends StripLane {
  constructor(name, about, tracks) {
    super('algorithm', name, about, tracks);
    this.top = Math.max(1, ...tracks.map((track) => highest(track.course.values)));
  }

  textOf(track, value) { return value < 0 ? 'asleep' : `level ${value}`; }
  stretches(track) { return stretchesOf(track.course, track.run.duration).filter((stretch) => stretch.value >= 0); }

  // Awake at level 0 is an outline, from there to the highest level ever taken ever darker.
  paintBar(context, track, { value }, left, y, width, height) {
    const colour = colourOf(track.run);
    context.globalAlpha = value === 0 ? 0.12 : 0.3 + 0.65 * (value / this.top);
    context.fillStyle = colour;
    context.fillRect(left, y, width, height);
    context.globalAlpha = 1;
    context.strokeStyle = colour;
    context.lineWidth = 1;
    if (width > 3) context.strokeRect(left + 0.5, y + 0.5, width - 1, height - 1);
    if (width < 14) return;
    context.fillStyle = value / this.top > 0.45 ? styleOf('--paper') : styleOf('--ink');
    context.fillText(String(value), left + width / 2, y + height / 2 + 0.5);
  }
}

// The names in force, of scenarios or of configurations.
class NameLane extends StripLane {
  constructor(name, stretchesOfRun) {
    super('names', name, '', []);
    this.stretchesOfRun = stretchesOfRun;
  }

  paintBackground() {} // its bars are the colours
  stripTracks() { return shownRuns().map((run) => ({ run })); }
  stretches({ run }) { return this.stretchesOfRun(run); }
  showValues() {
    const { cursor } = view;
    const texts = shownRuns().map((run) => {
      const stretch = this.stretchesOfRun(run)
        .filter((one) => cursor !== null && one.from <= cursor && cursor <= one.to).pop();
      const value = element('span', { className: 'value' });
      if (stretch && runs.length > 1) value.append(stroke(run));
      value.append(stretch ? stretch.name : '');
      return value;
    });
    this.values.replaceChildren(...texts);
  }

  paintBar(context, track, { name }, left, y, width, height) {
    context.fillStyle = tintOf(name, 0.35) || styleOf('--panel');
    context.fillRect(left, y, width, height);
    context.strokeStyle = styleOf('--rule');
    context.lineWidth = 1;
    context.strokeRect(left + 0.5, y + 0.5, width - 1, height - 1);
    context.fillStyle = styleOf('--ink');
    if (context.measureText(name).width + 6 < width) context.fillText(name, left + width / 2, y + height / 2 + 0.5);
  }
}

class TimeLane extends Lane {
  constructor() {
    super('time', 'time', '', []);
    this.unit = element('span', { className: 'unit' });
    this.header.replaceWith(this.unit);
  }

  hasGrid() { return false; }
  hasTimes() { return true; }
  rows() { return [[0, null]]; }
  paint() {}
  showValues() {}
  options() {
    this.unit.textContent = unitOfTime();
    return super.options();
  }
}

function setText(context, font, textAlign, textBaseline = 'bottom') {
  Object.assign(context, { font: `${font} ${getComputedStyle(document.body).fontFamily}`, textAlign, textBaseline });
}

function highest(values) {
  return values.reduce((high, value) => (value > high ? value : high), -Infinity);
}

// 2600000 as 2.6M, so that it fits beside the axis.
function shortened(entry) {
  if (entry === undefined) return undefined;
  const number = Number(entry);
  if (!/^\d{5,}$/.test(entry)) return entry;
  return number >= 1e6 ? `${+(number / 1e6).toFixed(2)}M` : `${+(number / 1e3).toFixed(1)}k`;
}

// The parts of stretches that are in the window, in pixels.
function onScreen(stretches, area, graph) {
  const parts = [];
  for (const { from, to } of stretches) {
    const left = Math.max(area.x, graph.toDomXCoord(from));
    const right = Math.min(area.x + area.w, graph.toDomXCoord(to));
    if (right > left) parts.push({ left, right, width: right - left });
  }
  return parts;
}

// The background: where runs differ that of the first one shown, after its end that of the next.
function paintScenarios(context, area, graph) {
  let painted = 0;
  for (const run of shownRuns()) {
    context.fillStyle = styleOf('--rule');
    context.globalAlpha = 0.3;
    for (const { left, width } of onScreen(run.gaps.map(([from, to]) => ({ from, to })), area, graph))
      context.fillRect(left, area.y, width, area.h);
    context.globalAlpha = 1;
    for (const { from, to, name } of run.scenarios) {
      const tint = tintOf(name, 0.13);
      if (!tint) continue;
      context.fillStyle = tint;
      for (const { left, width } of onScreen([{ from: Math.max(from, painted), to }], area, graph))
        context.fillRect(left, area.y, width, area.h);
    }
    painted = Math.max(painted, run.duration);
  }
}

// At the right ends of their lines, those without room left out.
function paintLabels(context, area, labels) {
  setText(context, '10px', 'right');
  const taken = [];
  for (const { text, right, width, y, colour } of labels.sort((a, b) => b.y - a.y)) {
    const needed = context.measureText(text).width + 6;
    if (y < area.y + 12 || y > area.y + area.h || needed > width) continue;
    if (taken.some((other) => Math.abs(other.y - y) < 10 && Math.abs(other.right - right) < 60)) continue;
    taken.push({ y, right });
    context.globalAlpha = 0.85;
    context.fillStyle = styleOf('--paper');
    context.fillRect(right - needed, y - 12, needed, 11);
    context.globalAlpha = 1;
    context.fillStyle = colour;
    context.fillText(text, right - 3, y - 1);
  }
}

// ---- The axis of time

const TIME_STEPS = [100, 200, 500, 1e3, 2e3, 5e3, 10e3, 15e3, 30e3, 60e3, 120e3, 300e3, 600e3, 900e3, 1800e3, 3600e3,
  7200e3, 14400e3, 21600e3, 43200e3, 86400e3];

function timeStep() {
  const [from, to] = view.window;
  const most = Math.max(3, Math.floor(charts.clientWidth / 90));
  return TIME_STEPS.find((step) => (to - from) / step <= most) || 86400e3 * Math.ceil((to - from) / most / 86400e3);
}

function unitOfTime() {
  if (timeStep() < 60e3) return 'min:sec';
  return duration > 4 * 3600e3 ? 'hours' : 'minutes';
}

function timeTicks() {
  const [from, to] = view.window;
  const step = timeStep();
  const unit = unitOfTime();
  const label = (time) => {
    if (unit === 'minutes') return String(Math.round(time / 60e3));
    if (unit === 'hours') return `${Math.floor(time / 3600e3)}:${twoDigits(Math.round(time / 60e3) % 60)}`;
    const seconds = time / 1000;
    const rest = (seconds % 60).toFixed(step < 1000 ? 1 : 0);
    return `${Math.floor(seconds / 60 + 1e-9)}:${rest.padStart(step < 1000 ? 4 : 2, '0')}`;
  };
  const ticks = [];
  for (let time = Math.ceil(from / step) * step; time <= to; time += step) {
    // Dygraphs leaves out what is exactly at the end.
    ticks.push({ v: Math.min(time, to - (to - from) * 1e-6), label: label(time) });
  }
  return ticks;
}

function paintTimes(context, area, graph) {
  setText(context, '9px', 'center');
  context.fillStyle = styleOf('--muted');
  for (const { v, label } of timeTicks().slice(1, -1))
    context.fillText(label, graph.toDomXCoord(v), area.y + area.h);
}

// ---- The cursor

const cursorLine = document.querySelector('.cursor');
const selection = document.querySelector('.selection');
const readout = document.querySelector('.readout');

// The part of the page, from left to right, in which all charts draw.
function plotArea() {
  const { graph } = lanes.find((lane) => lane.kind === 'time');
  const area = graph.getArea();
  return { left: area.x, width: area.w };
}

function timeAtPixel(x) {
  const { left, width } = plotArea();
  const share = Math.min(1, Math.max(0, (x - left) / width));
  return view.window[0] + share * (view.window[1] - view.window[0]);
}

function pixelAtTime(time) {
  const { left, width } = plotArea();
  return left + ((time - view.window[0]) / (view.window[1] - view.window[0])) * width;
}

function showCursor() {
  const [from, to] = view.window;
  cursorLine.hidden = view.cursor === null || view.cursor < from || view.cursor > to;
  if (!cursorLine.hidden) cursorLine.style.left = `${pixelAtTime(view.cursor)}px`;
  for (const lane of lanes.filter((one) => one.visible())) lane.showValues();
  if (view.cursor === null)
    readout.textContent = from === 0 && to === duration ? `${clock(duration)} in all` : `${clock(from)} to ${clock(to)}`;
  else
    readout.replaceChildren('at ', element('b', { textContent: exactClock(view.cursor) }));
}

function setCursor(time) {
  view.cursor = time === null ? null : Math.round(time);
  showCursor();
}

// ---- Mouse, fingers, keys

const fingers = new Map();
let drag = null;

const pixelOf = (event) => event.clientX - charts.getBoundingClientRect().left;

charts.addEventListener('pointerdown', (event) => {
  if (event.button !== 0) return;
  fingers.set(event.pointerId, pixelOf(event));
  if (event.pointerType === 'touch') {
    setCursor(timeAtPixel(pixelOf(event)));
    return;
  }
  charts.setPointerCapture(event.pointerId);
  drag = { from: pixelOf(event), window: view.window, panning: event.shiftKey };
});

charts.addEventListener('pointermove', (event) => {
  const x = pixelOf(event);
  if (event.pointerType === 'touch' && fingers.size === 2) {
    pinch(event.pointerId, x);
    return;
  }
  if (event.pointerType === 'touch' && !fingers.has(event.pointerId)) return;
  if (drag && drag.panning) {
    pan((drag.from - x) / plotArea().width, drag.window);
    return;
  }
  setCursor(timeAtPixel(x));
  if (drag) showSelection(drag.from, x);
});

function showSelection(from, to) {
  const { left, width } = plotArea();
  const inside = (x) => Math.min(left + width, Math.max(left, x));
  selection.hidden = false;
  selection.style.left = `${inside(Math.min(from, to))}px`;
  selection.style.width = `${Math.abs(inside(to) - inside(from))}px`;
}

// What was under each finger stays under it.
function pinch(finger, x) {
  const [other] = [...fingers.keys()].filter((id) => id !== finger);
  const before = [fingers.get(finger), fingers.get(other)];
  const after = [x, fingers.get(other)];
  fingers.set(finger, x);
  if (Math.abs(after[0] - after[1]) < 10 || Math.abs(before[0] - before[1]) < 10) return;
  const { left, width } = plotArea();
  const times = before.map((pixel) => view.window[0] + ((pixel - left) / width) * (view.window[1] - view.window[0]));
  const perPixel = (times[0] - times[1]) / (after[0] - after[1]);
  const start = times[0] - (after[0] - left) * perPixel;
  setWindow(start, start + width * perPixel);
}

function endPointer(event) {
  fingers.delete(event.pointerId);
  selection.hidden = true;
  if (!drag || event.pointerType === 'touch') return;
  const { from, panning } = drag;
  drag = null;
  if (event.type === 'pointerup' && !panning && Math.abs(pixelOf(event) - from) > 5) {
    const times = [timeAtPixel(from), timeAtPixel(pixelOf(event))].sort((a, b) => a - b);
    setWindow(...times);
  }
}
charts.addEventListener('pointerup', endPointer);
charts.addEventListener('pointercancel', endPointer);
charts.addEventListener('pointerleave', (event) => { if (event.pointerType !== 'touch') setCursor(null); });
charts.addEventListener('dblclick', () => setWindow(0, duration));
charts.addEventListener('wheel', (event) => {
  if (!event.ctrlKey && !event.metaKey) return; // the page scrolls
  event.preventDefault();
  zoom(event.deltaY > 0 ? 1.25 : 0.8, timeAtPixel(pixelOf(event)));
}, { passive: false });

const actions = {
  back: () => pan(-0.5),
  forth: () => pan(0.5),
  in: () => zoom(0.5),
  out: () => zoom(2),
  all: () => setWindow(0, duration),
  thresholds: (button) => {
    view.thresholds = !view.thresholds;
    button.setAttribute('aria-pressed', view.thresholds);
    redraw();
  },
  theme: () => setTheme(theme() === 'dark' ? 'light' : 'dark'),
};
for (const button of document.querySelectorAll('[data-do]'))
  button.addEventListener('click', () => actions[button.dataset.do](button));

const KEYS = { ArrowLeft: 'back', ArrowRight: 'forth', '+': 'in', '=': 'in', '-': 'out', 0: 'all' };
document.addEventListener('keydown', (event) => {
  if (event.ctrlKey || event.metaKey || event.altKey || !KEYS[event.key]) return;
  event.preventDefault();
  actions[KEYS[event.key]]();
});

// ---- The page

// A node is at a glance where it has a limit of its own, or that of a sensor which reads it.
const isAtGlance = (sensor) => sensor.kind !== 'plant' || sensor.limit !== null;
const labelOf = (sensor) => sensor.name + (sensor.kind === 'plant' ? ' (plant)' : '');

function glanceTable() {
  const sensors = [...new Set(runs.flatMap((run) => run.sensors).filter(isAtGlance).map(labelOf))];
  const sources = [...new Set(runs.flatMap((run) => run.performance)
    .filter((source) => source.demanded > 0).map((source) => source.source))];
  const heads = (names) => names.map((name, i) => element('th', { textContent: name, className: i ? '' : 'first' }));
  const over = (names, textContent) =>
    names.length ? [element('th', { textContent, colSpan: names.length, className: 'first' })] : [];
  const above = element('tr', {}, element('th', { colSpan: 2 }), ...over(sensors, 'Peak temperature'),
                        ...over(sources, 'Work done of that asked for'));
  const head = element('tr', {}, element('th', { textContent: 'Run' }), element('th', { textContent: 'Duration' }),
                       ...heads(sensors), ...heads(sources));
  const rows = runs.map((run) => {
    const cells = [durationCell(run), ...sensors.map((name) => peakCell(run, name)),
                   ...sources.map((name) => workOf(run, name))];
    return element('tr', {}, element('th', {}, stroke(run), run.name),
                   ...cells.map((cell) => cell instanceof Node ? cell : element('td', { textContent: cell })));
  });
  document.querySelector('.glance table').replaceChildren(element('thead', {}, above, head), element('tbody', {}, ...rows));
}

function durationCell(run) {
  if (run.standstill === null) return clock(run.duration);
  return element('td', { textContent: `${clock(run.duration)}, stood still from ${clock(run.standstill)}`, className: 'passed',
                         title: 'from then on the daemon samples and decides nothing' });
}

function peakCell(run, label) {
  const sensor = run.sensors.find((one) => isAtGlance(one) && labelOf(one) === label);
  if (!sensor || !sensor.course.values.length) return '–';
  const peak = highest(sensor.course.values);
  const passed = sensor.limit !== null && peak > sensor.limit;
  return element('td', { textContent: `${inDegrees(peak)} °C${passed ? ' !' : ''}`, className: passed ? 'passed' : '',
                         title: passed ? `above its limit of ${exactDegrees(sensor.limit)} °C` : '' });
}

function workOf(run, name) {
  const source = run.performance.find((one) => one.source === name);
  return source && source.demanded > 0 ? `${((100 * source.delivered) / source.demanded).toFixed(1)} %` : '–';
}

function runButtons() {
  document.querySelector('.runs').replaceChildren(...runs.map((run) => {
    const button = element('button', { type: 'button' }, stroke(run), run.name);
    button.dataset.run = run.name;
    button.setAttribute('aria-pressed', run.shown);
    button.addEventListener('click', () => {
      run.shown = !run.shown;
      button.setAttribute('aria-pressed', run.shown);
      redraw();
    });
    return button;
  }));
}

// The tracks of all runs that belong into one chart, by a key; one run may have several of a key,
// then in charts of their own.
function grouped(tracks, keyOf) {
  const groups = new Map();
  for (const track of tracks) {
    let key = keyOf(track);
    while (groups.has(key) && groups.get(key).some((other) => other.run === track.run)) key += '\n';
    groups.set(key, [...(groups.get(key) || []), track]);
  }
  return [...groups.values()];
}

function aboutSensor({ kind, period }) {
  const what = { real: 'sensor', virtual: 'virtual sensor', plant: 'node of the plant' }[kind];
  return period ? `${what} · every ${period < 1000 ? `${period} ms` : `${period / 1000} s`}` : what;
}

function aboutAlgorithm({ run, kind, sensor, devices, scenario }) {
  const parts = [scenario, kind === 'ss' ? 'steps' : 'levels'];
  if (sensor !== null) parts.push(`${run.sensors[sensor].name}${devices.length ? ' → ' : ''}` +
    devices.map((index) => run.devices[index].name).join(', '));
  return parts.join(' · ');
}

function addGroup(heading, made) {
  if (!made.length) return;
  charts.append(element('h2', { textContent: heading }), ...made.map((lane) => lane.section));
  lanes.push(...made);
  addChoices(heading, made);
}

function addChoices(heading, made) {
  const choices = document.querySelector('.choices');
  choices.append(element('h2', { textContent: heading }));
  for (const lane of made) {
    const box = element('input', { type: 'checkbox', checked: true });
    box.dataset.lane = lane.section.dataset.lane;
    box.addEventListener('change', () => {
      lane.shown = box.checked;
      redraw();
    });
    choices.append(element('label', {}, box, lane.name));
  }
}

function buildLanes() {
  const names = [];
  if (runs.some((run) => run.scenarios.length)) names.push(new NameLane('Scenario', (run) => run.scenarios));
  if (runs.some((run) => run.configurations.length > 1))
    names.push(new NameLane('Configuration', (run) => run.configurations));
  lanes.push(...names);
  charts.append(...names.map((lane) => lane.section));

  const sensors = runs.flatMap((run) => run.sensors);
  const isNode = (sensor) => sensor.kind === 'plant';
  const temperatureLane = (tracks) => new TemperatureLane(tracks[0].name, aboutSensor(tracks[0]), tracks);
  const byName = (track) => track.name;
  addGroup('Temperatures', grouped(sensors.filter((sensor) => !isNode(sensor)), byName).map(temperatureLane));
  addGroup('Devices', grouped(runs.flatMap((run) => run.devices).filter((device) => device.course.times.length), byName)
    .map((tracks) => new DeviceLane(tracks[0].name, tracks[0].kind, tracks)));
  addGroup('Algorithms', grouped(runs.flatMap((run) => run.algorithms).filter((algorithm) =>
    algorithm.course.values.some((level) => level >= 0)), (algorithm) => `${algorithm.name} ${algorithm.scenario}`)
    .map((tracks) => new AlgorithmLane(tracks[0].name, aboutAlgorithm(tracks[0]), tracks)));
  addGroup('Nodes of the plant', grouped(sensors.filter(isNode), byName).map(temperatureLane));

  const time = new TimeLane();
  lanes.push(time);
  charts.append(time.section);
}

function setTheme(name) {
  root.dataset.theme = name;
  glanceTable();
  runButtons();
  redraw();
}

document.title = document.querySelector('h1').textContent = title;
document.querySelector('.thinned').hidden =
  !runs.some((run) => [...run.sensors, ...run.devices, ...run.algorithms].some((track) => track.thinned));
buildLanes();
const prefersDark = matchMedia('(prefers-color-scheme: dark)');
setTheme(prefersDark.matches ? 'dark' : 'light');
prefersDark.addEventListener('change', (event) => setTheme(event.matches ? 'dark' : 'light'));
addEventListener('resize', redraw);

// On paper it is light and scaled as a whole: a canvas whose size changes while the browser prints
// stays empty.
const PAPER_WIDTH = 680;
let screenTheme = null;
addEventListener('beforeprint', () => {
  const width = document.body.offsetWidth;
  document.body.style.width = `${width}px`;
  document.body.style.zoom = PAPER_WIDTH / width;
  screenTheme = theme();
  view.cursor = null;
  view.onPaper = true;
  setTheme('light');
  drawAll();
});
addEventListener('afterprint', () => {
  document.body.style.width = document.body.style.zoom = '';
  view.onPaper = false;
  setTheme(screenTheme);
});
