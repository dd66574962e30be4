// Everything is drawn by one rule: a chart ("lane") for each sensor, device, algorithm and source of
// heat, in which the runs lie over each other, all over one axis of time.

const LANE_HEIGHT = { temperature: 150, device: 92, power: 92, time: 34 };
const LEVEL_ROW = 13; // of a label beside an axis or a line
const STRIP_ROW = 14;
const COLUMN = 3; // pixels that have one mean, and one lowest and highest
const FLAT = 500; // millidegrees that a flat temperature's mean moves at most

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

function zoom(factor, centre = view.cursor ?? (view.window[0] + view.window[1]) / 2) {
  const [from, to] = view.window;
  setWindow(centre - (centre - from) * factor, centre + (to - centre) * factor);
}

// By a share of the window, as far as there is something to see.
function pan(share, [from, to] = view.window) {
  const move = Math.min(Math.max((to - from) * share, -from), duration - to);
  setWindow(from + move, to + move);
}

let redrawAsked = false;
let isLayoutStale = true;
let isTableStale = true;
function redraw() {
  for (const lane of lanes) lane.isStale = true;
  isLayoutStale = isTableStale = true;
  askToDraw();
}

function askToDraw() {
  if (redrawAsked) return;
  redrawAsked = true;
  requestAnimationFrame(() => {
    redrawAsked = false;
    drawAll();
  });
}

// What is far from the window of the browser is drawn when it comes near.
function drawAll() {
  if (isLayoutStale) for (const lane of lanes) lane.layOut();
  isLayoutStale = false;
  for (const lane of lanes) {
    if (lane.isStale && (lane.isNear || view.onPaper)) lane.draw();
  }
  showCursor();
  if (isTableStale) showValuesTable();
}

const laneOf = new Map();
const nearness = new IntersectionObserver((entries) => {
  for (const { target, isIntersecting } of entries) laneOf.get(target).isNear = isIntersecting;
  askToDraw();
}, { rootMargin: '200px 0px' });

// ---- Charts

// One chart. `tracks` holds what it shows of the runs, at most one track of each.
class Lane {
  constructor(kind, name, about, tracks) {
    this.kind = kind;
    this.name = name;
    this.tracks = tracks;
    this.shown = true;
    this.isFlat = false; // one line tells it all
    this.isStale = true;
    this.isNear = false;
    this.values = element('span', { className: 'values' });
    this.plot = element('div', { className: 'plot' });
    this.marks = shape('svg', { class: 'marks', 'aria-hidden': 'true' });
    this.heading = element('h3', { textContent: name });
    this.badge = element('span', { className: 'badge', hidden: true });
    this.header = element('header', {}, this.heading, element('span', { className: 'about', textContent: about }), this.badge, this.values);
    this.frame = element('div', { className: 'frame' }, this.plot, this.marks);
    this.section = element('section', { className: `lane ${kind}` }, this.header, this.frame);
    this.section.dataset.lane = `${kind}:${name}`;
    this.verdicts = tracks.flatMap((track) => track.run.verdicts.filter((verdict) => verdict.track === track)).sort(byUrgency);
    [this.worst] = this.verdicts;
    this.plot.setAttribute('role', 'img');
    this.plot.setAttribute('aria-label', name); // until it is drawn
    laneOf.set(this.section, this);
  }

  shownTracks() { return this.tracks.filter((track) => track.run.shown); }
  height() { return LANE_HEIGHT[this.kind]; }
  visible() { return this.shown && (this.tracks.length === 0 || this.shownTracks().length > 0); }

  // Of the charts that stand first: 0 is the most urgent, null that it stands with its kind.
  urgency() {
    if (this.worst) return this.worst.state === 'passed' ? 0 : 1;
    return this.isThrottled() ? 2 : null;
  }

  isThrottled() { return false; }

  // One line instead of a chart, which a button brings back.
  fold() {
    this.isFlat = true;
    this.section.classList.add('flat');
    const button = element('button', { type: 'button', textContent: this.name });
    button.setAttribute('aria-expanded', 'false');
    button.addEventListener('click', () => {
      this.isFlat = !this.isFlat;
      this.section.classList.toggle('flat', this.isFlat);
      button.setAttribute('aria-expanded', String(!this.isFlat));
      redraw();
    });
    this.heading.replaceChildren(button);
  }

  // How far beyond its bound the worst of the runs is that are shown.
  showBadge() {
    const worst = this.verdicts.find((verdict) => verdict.track.run.shown);
    this.badge.hidden = !worst || worst.state !== 'passed';
    if (this.badge.hidden) return;
    const what = worst.isTemperature ? '' : { work: 'work ', changes: 'changes ' }[worst.kind];
    this.badge.textContent = what + againstBound(worst);
  }

  layOut() {
    const hidden = !this.visible();
    if (this.section.hidden !== hidden) this.section.hidden = hidden;
    this.showBadge();
    const height = `${this.height()}px`;
    if (this.plot.style.height !== height) this.plot.style.height = height;
  }

  draw() {
    if (this.section.hidden || this.isFlat) return;
    this.isStale = false;
    this.prepare();
    const options = this.options();
    if (!this.graph) {
      this.graph = new Dygraph(this.plot, this.rows(), { ...this.fixedOptions(), ...options });
    } else {
      const grown = this.plot.clientWidth !== this.graph.width_ || this.height() !== this.graph.height_;
      if (grown) this.graph.resize();
      this.graph.updateOptions({ file: this.rows(), ...options });
    }
    this.plot.setAttribute('aria-label', this.description());
    this.showMarks();
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
      rightGap: sizeOf('--marks'),
      colors: this.tracks.length ? this.tracks.map((track) => colourOf(track.run)) : [styleOf('--ink')],
      visibility: this.tracks.length ? this.tracks.map((track) => track.run.shown) : [true],
      gridLineColor: styleOf('--grid'),
      axisLineColor: styleOf('--rule'),
      axes: {
        x: { drawAxis: this.hasTimes(), drawGrid: this.hasGrid(), ticker: timeTicks },
        y: { axisLabelWidth: sizeOf('--gutter'), ticker: () => this.ticks(), drawGrid: this.hasGrid() },
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
  labels() { return []; }

  // How many milliseconds a column of pixels has.
  column() {
    const [from, to] = view.window;
    const width = this.plot.clientWidth - sizeOf('--gutter') - sizeOf('--marks');
    return ((to - from) * COLUMN) / Math.max(COLUMN, width);
  }

  // What of each track is drawn in the window, in the order of the tracks.
  prepare() { this.pieces = this.tracks.map((track) => this.pieceOf(track, ...view.window)); }
  pieceOf() { return { times: [], values: [] }; }

  // A row for each time at which any of the runs has a point.
  rows() {
    const rows = new Map();
    this.pieces.forEach(({ times, values }, column) => times.forEach((time, i) => {
      if (!rows.has(time)) rows.set(time, [time, ...this.columns().map(() => null)]);
      rows.get(time)[column + 1] = this.scaled(values[i]);
    }));
    if (!rows.size) return [[0, ...this.columns().map(() => null)]];
    return [...rows.values()].sort((a, b) => a[0] - b[0]);
  }

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
      const isResting = view.cursor === null || this.isFlat;
      const text = isResting ? this.resting(track) : this.describeAt(track, view.cursor);
      const value = element('span', { className: isResting ? 'peak' : 'value' });
      if (text && runs.length > 1) value.append(stroke(track.run));
      value.append(text);
      return value;
    }));
  }

  resting() { return ''; }

  // For who does not see it.
  description() {
    const parts = this.shownTracks().map((track) =>
      (runs.length > 1 ? `${track.run.name}: ` : '') + (this.resting(track) || this.describeAt(track, view.window[1])));
    return `${this.name}, ${clock(view.window[0])} to ${clock(view.window[1])}. ${parts.join('; ')}`;
  }

  // The labels stand beside the chart, where no curve is, each as near to its line as the others let
  // it.
  showMarks() {
    const area = this.graph.getArea();
    const labels = this.labels().filter(({ y }) => y >= area.y - 1 && y <= area.y + area.h + 1).sort((a, b) => a.y - b.y);
    const places = spread(labels.map((label) => label.y), LEVEL_ROW - 1, area.y + 5, area.y + area.h - 5);
    const width = sizeOf('--marks');
    this.marks.setAttribute('width', width);
    this.marks.setAttribute('height', this.height());
    this.marks.replaceChildren(...labels.flatMap(({ text, y, colours, colour, strong }, i) => {
      const place = places[i];
      const bars = colours.map((one, k) =>
        shape('rect', { x: 12 + 4 * k, y: place - 5, width: 3, height: 10, fill: one }));
      return [
        shape('path', { d: `M0,${y}L4,${y}L10,${place}`, fill: 'none', stroke: colour, 'stroke-width': 1 }),
        ...bars,
        shape('text', { x: 14 + 4 * colours.length, y: place, fill: colour, class: strong ? 'strong' : '',
                        'dominant-baseline': 'central' }, text),
      ];
    }));
  }
}

// Ascending places for labels of that height: as near as they can be, inside as far as they fit.
function spread(wanted, height, top, bottom) {
  const places = [...wanted];
  const step = Math.min(height, places.length > 1 ? (bottom - top) / (places.length - 1) : height);
  for (let i = 0; i < places.length; ++i)
    places[i] = Math.max(places[i], i ? places[i - 1] + step : top);
  for (let i = places.length - 1; i >= 0; --i)
    places[i] = Math.min(places[i], i + 1 < places.length ? places[i + 1] - step : bottom);
  return places;
}

class TemperatureLane extends Lane {
  constructor(tracks) {
    super('temperature', labelOf(tracks[0]), aboutSensor(tracks[0]), tracks);
    this.algorithms = tracks.flatMap((track) => {
      const sensor = track.run.sensors.indexOf(track);
      return track.run.algorithms.filter((algorithm) => algorithm.sensor === sensor);
    });
    const limits = this.verdicts.map(({ kind, bound, allowed_s: allowed }) => [1000 * bound, kind === 'peak' ? `limit ${bound} °C`
      : kind === 'time' ? `${bound} °C, ${inSeconds(allowed)}` : `${kind} ${bound} °C`]);
    this.limits = [...new Map(limits.map(([limit, text]) => [text, limit]))];
    this.marksOfAll = [...this.limits.map(([, limit]) => limit), ...this.algorithms.flatMap((algorithm) => algorithm.thresholds.flat())];
    if (this.urgency() === null && tracks.every(isFlatCourse)) this.fold();
  }

  isThrottled() { return this.algorithms.some((algorithm) => algorithm.highest > 0); }

  // Each of its labels has a row.
  height() {
    const most = view.thresholds ? this.limits.length + new Set(this.algorithms.flatMap((algorithm) =>
      algorithm.inForce.length ? algorithm.thresholds.map(([reached], level) => `${reached} ${level}`) : [])).size : 0;
    return Math.min(420, Math.max(super.height(), most * LEVEL_ROW + 8));
  }

  scaled(value) { return value / 1000; }
  textOf(track, value) { return `${inDegrees(value)} °C`; }

  resting(track) {
    if (!track.course.values.length) return 'no sample';
    if (!this.isFlat) return `peak ${inDegrees(track.highest)} °C`;
    return `${inDegrees(track.lowest)} to ${inDegrees(track.highest)} °C`;
  }

  pieceOf(track, from, to) {
    return track.run.shown ? outlineOf(track.course, from, to, this.column()) : { times: [], values: [], lows: [], highs: [] };
  }

  prepare() {
    super.prepare();
    this.fixedRange = this.findRange();
  }

  range() { return this.fixedRange; }

  // The temperatures in the window with the thresholds around them; one far from all of them does
  // not flatten the course.
  findRange() {
    const [from, to] = view.window;
    let low = Infinity;
    let high = -Infinity;
    for (const { times, lows, highs } of this.pieces) {
      for (let i = 0; i < times.length; ++i) {
        if (times[i] < from || times[i] > to || Number.isNaN(lows[i])) continue;
        if (lows[i] < low) low = lows[i];
        if (highs[i] > high) high = highs[i];
      }
    }
    if (low > high) return [0, 100];
    const isWhole = from === 0 && to === duration;
    const reach = Math.max(isWhole ? 4000 : 400, (high - low) * 0.4);
    const near = this.marksOfAll.filter((mark) => mark > low - reach && mark < high + reach);
    low = Math.min(low, ...near);
    high = Math.max(high, ...near);
    const margin = Math.max(isWhole ? 1000 : 100, (high - low) * 0.06);
    return [(low - margin) / 1000, (high + margin) / 1000];
  }

  ticks() { return roundTicks(...this.fixedRange, ' °C'); }

  paint(context, area, graph) {
    super.paint(context, area, graph);
    if (view.thresholds) this.paintThresholds(context, area, graph);
    for (const [, limit] of this.limits) this.paintLimit(context, area, graph, limit);
    this.paintNoise(context, area, graph);
  }

  // Between the lowest and the highest of each column.
  paintNoise(context, area, graph) {
    paintApart(context, area, 0.28, this.tracks.map((track, i) => (layer) => {
      const { times, lows, highs } = this.pieces[i];
      layer.fillStyle = colourOf(track.run);
      for (let first = 0; first < times.length;) {
        let end = first;
        while (end < times.length && !Number.isNaN(lows[end])) ++end;
        layer.beginPath();
        for (let k = first; k < end; ++k) layer.lineTo(graph.toDomXCoord(times[k]), graph.toDomYCoord(highs[k] / 1000));
        for (let k = end - 1; k >= first; --k) layer.lineTo(graph.toDomXCoord(times[k]), graph.toDomYCoord(lows[k] / 1000));
        layer.fill();
        first = end + 1;
      }
    }));
  }

  // The thresholds in force somewhere in the window: {run, reached, cleared, level, count, stretches}.
  thresholdsInForce() {
    const [from, to] = view.window;
    return this.algorithms.filter((algorithm) => algorithm.run.shown).flatMap((algorithm) => {
      const stretches = algorithm.inForce.filter((one) => one.from < to && one.to > from);
      return stretches.length ? algorithm.thresholds.map(([reached, cleared], level) =>
        ({ run: algorithm.run, scenario: algorithm.scenario, reached, cleared, level, stretches,
           count: algorithm.thresholds.length })) : [];
    });
  }

  paintThresholds(context, area, graph) {
    const thresholds = this.thresholdsInForce();
    this.paintHysteresis(context, area, graph, thresholds);
    context.lineWidth = 1;
    context.globalAlpha = 0.8;
    for (const { run, reached, stretches } of thresholds) {
      // Runs with one level at one time take turns along their line.
      const sharing = [...new Set(thresholds.filter((one) => one.reached === reached &&
        2 * lengthOf(common(one.stretches, stretches)) > lengthOf(stretches)).map((one) => one.run))];
      context.setLineDash(sharing.length > 1 ? [5, 5 * (sharing.length - 1)] : [4, 3]);
      context.lineDashOffset = -5 * sharing.indexOf(run);
      context.strokeStyle = colourOf(run);
      const y = graph.toDomYCoord(reached / 1000);
      for (const { left, width } of onScreen(stretches, area, graph)) {
        context.beginPath();
        context.moveTo(left, y);
        context.lineTo(left + width, y);
        context.stroke();
      }
    }
    context.setLineDash([]);
    context.lineDashOffset = 0;
    context.globalAlpha = 1;
  }

  // The band of a threshold: as wide as it is in force of one run, of several a bar each at its end.
  paintHysteresis(context, area, graph, thresholds) {
    const shown = shownRuns();
    paintApart(context, area, shown.length > 1 ? 0.4 : 0.1, thresholds.map(({ run, reached, cleared, stretches }) => (layer) => {
      const top = graph.toDomYCoord(Math.max(reached, cleared) / 1000);
      const bottom = graph.toDomYCoord(Math.min(reached, cleared) / 1000);
      layer.fillStyle = colourOf(run);
      for (const { left, width, right } of onScreen(stretches, area, graph)) {
        if (shown.length === 1) layer.fillRect(left, top, width, bottom - top);
        else layer.fillRect(Math.max(left, right - 4 * (shown.length - shown.indexOf(run))), top, Math.min(3, width), bottom - top);
      }
    }));
  }

  paintLimit(context, area, graph, limit) {
    const y = graph.toDomYCoord(limit / 1000);
    if (y < area.y || y > area.y + area.h) return;
    context.strokeStyle = styleOf('--alarm');
    context.lineWidth = 1.5;
    context.beginPath();
    context.moveTo(area.x, y);
    context.lineTo(area.x + area.w, y);
    context.stroke();
  }

  labels() {
    const { graph } = this;
    const alarm = styleOf('--alarm');
    const yOf = (temperature) => graph.toDomYCoord(temperature / 1000);
    const area = graph.getArea();
    // A limit is told even where it is above or below the chart.
    const labels = this.limits.map(([text, limit]) => {
      const y = Math.min(Math.max(area.y, yOf(limit)), area.y + area.h);
      const arrow = yOf(limit) < y ? ' ↑' : yOf(limit) > y ? ' ↓' : '';
      return { text: text + arrow, y, colours: [], colour: alarm, strong: true };
    });
    const most = Math.floor((sizeOf('--marks') - 16) / 5.8);
    const known = new Map();
    for (const { run, scenario, reached, level, count, stretches } of view.thresholds ? this.thresholdsInForce() : []) {
      const end = Math.min(view.window[1], run.duration);
      const text = count > 1 ? `${exactDegrees(reached)} → ${level + 1}` : `${exactDegrees(reached)} °C`;
      // The same label of several runs has a bar of each one's colour.
      if (!known.has(text)) known.set(text, { text, y: yOf(reached), runs: new Set(), scenarios: new Set(), holds: false });
      const label = known.get(text);
      label.runs.add(run);
      label.scenarios.add(scenario);
      label.holds ||= stretches.some((one) => one.to >= end);
    }
    for (const { text, y, runs: named, scenarios, holds } of known.values()) {
      const colours = [...named].map(colourOf);
      const whole = holds ? text : `${text} ${[...scenarios].join(', ')}`; // of a line that ends before
      labels.push({ text: whole.length > most ? `${whole.slice(0, most - 1)}…` : whole, y, colours: colours.length > 1 ? colours : [],
                    colour: colours.length > 1 ? styleOf('--ink') : colours[0] });
    }
    return labels;
  }
}

// Whether the mean of the noise stays where it is.
function isFlatCourse({ course }) {
  if (!course.values.length) return true;
  const { values } = outlineOf(course, 0, duration, duration / 64);
  const known = values.filter((value) => !Number.isNaN(value));
  return highest(known) - lowest(known) <= FLAT;
}

function roundTicks(low, high, unit) {
  const sizes = [0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50, 100, 200, 500, 1000];
  const step = sizes.find((size) => (high - low) / size <= 5) || 5000;
  const digits = Math.max(0, -Math.floor(Math.log10(step) + 1e-9));
  const ticks = [];
  for (let i = Math.ceil(low / step - 1e-9); i * step <= high; ++i)
    ticks.push({ v: i * step, label: `${(i * step).toFixed(digits)}${unit}` });
  return ticks;
}

// Values that hold until the next one.
class StepLane extends Lane {
  fixedOptions() {
    return { ...super.fixedOptions(), stepPlot: true, plotter: (chart) => this.plotApart(chart) };
  }

  // Lines of several runs at one level lie side by side.
  plotApart(chart) {
    const shown = this.shownTracks();
    const index = shown.findIndex((track) => `r${track.run.index}` === chart.setName);
    chart.drawingContext.save();
    chart.drawingContext.translate(0, (index - (shown.length - 1) / 2) * 2.4);
    Dygraph.Plotters.linePlotter(chart);
    chart.drawingContext.restore();
  }

  // A value holds to the end of the run.
  pieceOf(track, from, to) {
    if (!track.run.shown) return { times: [], values: [] };
    const piece = stepsOf(track.course, from, to, this.column());
    const end = Math.min(to, track.run.duration);
    if (piece.times.length && piece.times[piece.times.length - 1] < end) {
      piece.times.push(end);
      piece.values.push(piece.values[piece.values.length - 1]);
    }
    return piece;
  }
}

class DeviceLane extends StepLane {
  constructor(tracks) {
    super('device', tracks[0].name, tracks[0].kind, tracks);
    this.levels = (tracks.find((track) => track.levels.length) || { levels: [] }).levels;
    this.top = Math.max(1, this.levels.length - 1, ...tracks.map((track) => track.highest));
    const levels = new Set(tracks.flatMap((track) => [track.lowest, track.highest]));
    if (levels.size <= 1) this.fold();
  }

  urgency() { return super.urgency() ?? (this.tracks.some((track) => track.highest > 0) ? 3 : null); }
  height() { return Math.max(super.height(), Math.min(420, (this.top + 1) * LEVEL_ROW + 10)); }
  // Downwards, as what the device gives goes down with each level.
  scaled(value) { return -value; }
  range() { return [-this.top - 0.4, 0.4]; }
  textOf(track, value) {
    const entry = track.levels[value];
    return entry === undefined ? `level ${value}` : `level ${value} · ${entryText(track.kind, entry, track.levels[0])}`;
  }

  resting(track) { return this.isFlat ? this.textOf(track, track.highest) : `level ${track.lowest} to ${track.highest}`; }

  ticks() {
    const every = Math.ceil(((this.top + 1) * LEVEL_ROW + 10) / this.height());
    const ticks = [];
    for (let level = 0; level <= this.top; level += every) {
      const entry = this.levels[level];
      const text = entry === undefined ? `level ${level}` : entryText(this.tracks[0].kind, entry, this.levels[0]);
      ticks.push({ v: -level, label: entry !== undefined && sizeOf('--gutter') > 60 ? `${level} · ${text}` : text });
    }
    return ticks;
  }
}

// The watts of a source of heat.
class PowerLane extends StepLane {
  constructor(tracks) {
    super('power', tracks[0].name, 'source of heat', tracks);
    this.top = Math.max(0.001, ...tracks.map((track) => track.highest / 1000));
    if (this.urgency() === null && new Set(tracks.flatMap((track) => [track.lowest, track.highest])).size <= 1) this.fold();
  }

  scaled(value) { return value / 1000; }
  range() { return [-0.05 * this.top, 1.08 * this.top]; }
  ticks() { return roundTicks(0, 1.08 * this.top, ' W'); }
  textOf(track, value) { return `${+(value / 1000).toFixed(3)} W`; }
  resting(track) {
    return `${this.isFlat ? `${this.textOf(track, track.highest)}, ` : ''}${track.work ? `${track.work.joules.toFixed(1)} J` : ''}`;
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
  constructor(tracks) {
    super('algorithm', tracks[0].name, aboutAlgorithm(tracks[0]), tracks);
    this.top = Math.max(1, ...tracks.map((track) => track.highest));
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
  prepare() { this.pieces = []; }
  stripTracks() { return shownRuns().map((run) => ({ run })); }
  stretches({ run }) { return this.stretchesOfRun(run); }
  nameAt(run, time) {
    const stretch = this.stretchesOfRun(run).filter((one) => time !== null && one.from <= time && time <= one.to).pop();
    return stretch ? stretch.name : '';
  }

  showValues() {
    this.values.replaceChildren(...shownRuns().map((run) => {
      const text = this.nameAt(run, view.cursor);
      const value = element('span', { className: 'value' });
      if (text && runs.length > 1) value.append(stroke(run));
      value.append(text);
      return value;
    }));
  }

  description() {
    return `${this.name}: ` + shownRuns().map((run) => (runs.length > 1 ? `${run.name}: ` : '') +
      this.stretchesOfRun(run).map(({ name, from }) => `${name} from ${clock(from)}`).join(', ')).join('; ');
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
    this.isNear = true;
  }

  hasGrid() { return false; }
  hasTimes() { return true; }
  prepare() { this.pieces = []; }
  paint() {}
  showValues() {}
  description() { return `axis of time, ${clock(view.window[0])} to ${clock(view.window[1])}`; }
  options() {
    this.unit.textContent = timeStep() < 60e3 ? 'h:mm:ss' : 'h:mm';
    return super.options();
  }
}

function setText(context, font, textAlign, textBaseline = 'bottom') {
  Object.assign(context, { font: `${font} ${styleOf('--font')}`, textAlign, textBaseline });
}

const sharedLayer = element('canvas').getContext('2d');

// Paints what may overlap so that at no place more than one of it shows: the first.
function paintApart(context, area, alpha, painters) {
  const { canvas } = context;
  const ratio = canvas.width / (canvas.clientWidth || canvas.width);
  const layer = sharedLayer;
  Object.assign(layer.canvas, { width: canvas.width, height: canvas.height }); // which empties it
  layer.scale(ratio, ratio);
  layer.beginPath();
  layer.rect(area.x, area.y, area.w, area.h);
  layer.clip();
  layer.globalCompositeOperation = 'destination-over';
  for (const paintOne of painters) paintOne(layer);
  context.save();
  context.globalAlpha = alpha;
  context.setTransform(1, 0, 0, 1, 0, 0);
  context.drawImage(layer.canvas, 0, 0);
  context.restore();
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

// ---- The axis of time

const TIME_STEPS = [100, 200, 500, 1e3, 2e3, 5e3, 10e3, 15e3, 30e3, 60e3, 120e3, 300e3, 600e3, 900e3, 1800e3, 3600e3,
  7200e3, 14400e3, 21600e3, 43200e3, 86400e3];

function timeStep() {
  const [from, to] = view.window;
  const most = Math.max(3, Math.floor(charts.clientWidth / 90));
  return TIME_STEPS.find((step) => (to - from) / step <= most) || 86400e3 * Math.ceil((to - from) / most / 86400e3);
}

// As hours, minutes and, where they count, seconds, however far the window is from the start.
function timeTicks() {
  const [from, to] = view.window;
  const step = timeStep();
  const label = (time) => {
    if (step >= 60e3) return clock(time + 500).slice(0, -3);
    return clock(time + 1e-6) + (step < 1000 ? `.${Math.round((time % 1000) / 100)}` : '');
  };
  const ticks = [];
  for (let time = Math.ceil(from / step) * step; time <= to; time += step) {
    // Dygraphs leaves out what is exactly at the end.
    ticks.push({ v: Math.min(time, to - (to - from) * 1e-6), label: label(time), time });
  }
  return ticks;
}

function paintTimes(context, area, graph) {
  setText(context, '9px', 'center');
  context.fillStyle = styleOf('--muted');
  for (const { v, label } of timeTicks().slice(1, -1))
    context.fillText(label, graph.toDomXCoord(v), area.y + area.h);
}
