// ---- The cursor

const cursorLine = document.querySelector('.cursor');
const selection = document.querySelector('.selection');
const readout = document.querySelector('.readout');
const closer = document.querySelector('.closer');

// The part of the page, from left to right, in which all charts draw.
function plotArea() {
  const { graph } = lanes[lanes.length - 1]; // the axis
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
  for (const lane of lanes.filter((one) => one.visible() && one.isNear)) lane.showValues();
  if (view.cursor === null)
    readout.textContent = from === 0 && to === duration ? `${clock(duration)} in all` : `${clock(from)} to ${clock(to)}`;
  else
    readout.replaceChildren('at ', element('b', { textContent: exactClock(view.cursor) }), spokenValues());
  showHowToLookCloser();
}

// For who hears the page: the first charts that are to be seen.
function spokenValues() {
  const heard = lanes.filter((lane) => lane.visible() && lane.tracks.length && lane.graph &&
    lane.section.getBoundingClientRect().bottom > 0).slice(0, 5);
  const texts = heard.map((lane) => `${lane.name} ` + lane.shownTracks().map((track) => lane.describeAt(track, view.cursor)).join(', '));
  return element('span', { className: 'unseen', textContent: `. ${texts.join('; ')}` });
}

const coarsest = Math.max(1, ...runs.flatMap((run) =>
  [...run.sensors, ...run.devices, ...run.sources, ...run.algorithms].map((track) => track.stretch)));

// Where the page holds less than the browser could show.
function showHowToLookCloser() {
  const [from, to] = view.window;
  const pixel = (to - from) / plotArea().width;
  closer.hidden = coarsest < 4 * pixel;
  if (closer.hidden) return;
  const around = [Math.max(0, from - coarsest), to + coarsest].map((time) => clock(time));
  const plot = `thermalctl plot trace.csv --from ${around[0]} --to ${around[1]} --out closer`;
  closer.replaceChildren(`A point here stands for ${span(coarsest)}. Every sample: `, ...(traced ? [] : ['with ',
    element('code', { textContent: '--only html,csv' }), ' a trace.csv is written, too; then ']),
  element('code', { textContent: plot }));
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
  if (event.button !== 0 || event.target.closest('button')) return;
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

// By a hundredth of what is shown, and on where that ends.
function stepCursor(share) {
  const [from, to] = view.window;
  const start = view.cursor ?? (share > 0 ? from : to);
  const time = Math.min(duration, Math.max(0, start + share * (to - from)));
  if (time < from || time > to) setWindow(time - (to - from) / 2, time + (to - from) / 2);
  setCursor(time);
}

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

const KEYS = {
  ArrowLeft: () => stepCursor(-0.01),
  ArrowRight: () => stepCursor(0.01),
  'Shift+ArrowLeft': actions.back,
  'Shift+ArrowRight': actions.forth,
  Home: () => setCursor(view.window[0]),
  End: () => setCursor(view.window[1]),
  Escape: () => setCursor(null),
  '+': actions.in,
  '=': actions.in,
  '-': actions.out,
  0: actions.all,
};
document.addEventListener('keydown', (event) => {
  const isArrow = event.key.startsWith('Arrow');
  const action = KEYS[(event.shiftKey && isArrow ? 'Shift+' : '') + event.key];
  // A list or a table that is too wide scrolls by these keys itself.
  const isTaken = (isArrow || event.key === 'Home' || event.key === 'End') && event.target.closest('.scrolls');
  if (event.ctrlKey || event.metaKey || event.altKey || isTaken || !action) return;
  event.preventDefault();
  action();
});
