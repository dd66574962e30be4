// Texts and colours.

const RUN_COLOURS = {
  light: ['#0067b1', '#b84a00', '#00735a', '#a23b84', '#555f6a', '#766000'],
  dark: ['#58b4f0', '#f2a24a', '#41cfa2', '#e79acb', '#c3cad1', '#dfc94f'],
};
// Dashes beside the colours: for readers who cannot tell these apart, and for paper.
const RUN_DASHES = [[], [7, 3], [2, 3], [10, 3, 2, 3], [5, 2, 2, 2, 2, 2], [14, 4]];
// The scenario Default has no colour of its own.
const SCENARIO_TINTS = {
  light: ['130,100,220', '120,160,30', '215,70,120', '0,150,150', '150,110,60'],
  dark: ['150,125,255', '160,205,60', '255,105,155', '60,200,200', '205,160,100'],
};

// ---- Texts

const byNature = new Intl.Collator('en', { numeric: true }).compare; // s2 before s10

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

// A length of time as people say it.
function span(time) {
  if (time < 1000) return `${time} ms`;
  return time < 60e3 ? `${+(time / 1000).toFixed(1)} s` : clock(time);
}

const labelOf = (sensor) => sensor.name + (sensor.kind === 'plant' ? ' (plant)' : '');

// An entry of a level table with its unit, as far as the kind of its device tells it.
function entryText(kind, entry, first) {
  const number = Number(entry);
  if (entry === '' || Number.isNaN(number)) return entry;
  if (kind === 'cpufreq' || kind === 'gpufreq') {
    // In kHz, as the kernel has them; what is too small for that is in a unit of the driver's own.
    if (number >= 1e6) return `${+(number / 1e6).toFixed(2)} GHz`;
    return number >= 1e5 ? `${+(number / 1e3).toFixed(1)} MHz` : entry;
  }
  if (kind === 'backlight') return Number(first) > 0 ? `${Math.round((100 * number) / Number(first))} %` : entry;
  const unit = { cpuhotplug: number === 1 ? 'core' : 'cores', charger: 'mA', camera: 'fps' }[kind];
  return unit ? `${entry} ${unit}` : entry;
}

function element(name, properties = {}, ...children) {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
}

function shape(name, attributes, ...children) {
  const made = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  made.append(...children);
  return made;
}

// ---- Colours

const root = document.documentElement;
const theme = () => (root.dataset.theme === 'dark' ? 'dark' : 'light');
const colourOf = (run) => RUN_COLOURS[theme()][run.index % RUN_COLOURS.light.length];
const dashOf = (run) => RUN_DASHES[run.index % RUN_DASHES.length];

// Asked for at every stroke of a chart: they change with the theme and the width alone.
const styles = new Map();
function styleOf(name) {
  if (!styles.has(name)) styles.set(name, getComputedStyle(root).getPropertyValue(name).trim());
  return styles.get(name);
}
const sizeOf = (name) => parseInt(styleOf(name), 10);

function tintOf(scenario, strength) {
  const index = tintedScenarios.indexOf(scenario);
  if (index < 0) return null;
  const tints = SCENARIO_TINTS[theme()];
  return `rgba(${tints[index % tints.length]},${strength})`;
}

// A piece of the line with which a run is drawn.
function stroke(run) {
  return shape('svg', { class: 'stroke', width: 24, height: 4, 'aria-hidden': 'true' },
               shape('line', { x1: 0, x2: 24, y1: 2, y2: 2, stroke: colourOf(run), 'stroke-width': 2.5,
                               'stroke-dasharray': dashOf(run).join(' ') }));
}
