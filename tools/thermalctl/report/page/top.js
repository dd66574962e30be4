// What stands around the charts: the verdict, the figures, the values as a table, where it all comes
// from; and the page itself.

const SIGNS = { passed: '✕', unjudged: '?', kept: '✓' };
const WORDS = { passed: 'passed', unjudged: 'no verdict', kept: 'kept' };

// ---- The verdict

const STATES = Object.keys(SIGNS);
const subjectOf = ({ name, plant }) => name + (plant ? ' (plant)' : '');
const byUrgency = (a, b) => STATES.indexOf(a.state) - STATES.indexOf(b.state) || b.excess - a.excess ||
  byNature(subjectOf(a), subjectOf(b)) || a.run.index - b.run.index;

// Small differences in full, so that none reads as none at all.
const difference = (number) => (Math.abs(number) < 0.1 ? String(+Math.abs(number).toFixed(3)) : Math.abs(number).toFixed(1));

const inSeconds = (seconds) => span(1000 * seconds);

function measuredText({ kind, isTemperature, measured }) {
  if (measured === null) return '–';
  if (isTemperature) return `${/^p\d/.test(kind) ? `${kind} ` : ''}${inDegrees(1000 * measured)} °C`;
  return kind === 'work' ? `${measured.toFixed(1)} %` : `${+measured.toFixed(2)} a minute`;
}

function againstBound(verdict) {
  const { run, kind, state, isTemperature, bound, beyond, cell, above_s: above, allowed_s: allowed } = verdict;
  const unit = isTemperature ? ' °C' : kind === 'work' ? ' %' : ' a minute';
  if (state === 'unjudged')
    return `${bound}${unit}: ${run.standstill === null ? cell : `stood still from ${clock(run.standstill)}`}`;
  if (kind === 'time') {
    const left = above - allowed;
    return `${inSeconds(Math.abs(left))} ${left > 0 ? 'more' : 'less'} than ${inSeconds(allowed)} above ${bound} °C`;
  }
  if (beyond === 0) return `at ${bound}${unit}`;
  const isAbove = (beyond > 0) === (kind !== 'work');
  return `${difference(beyond)}${isTemperature ? ' K' : kind === 'work' ? ' %' : ''} ${isAbove ? 'above' : 'below'} ${bound}${unit}`;
}

function verdictRow(verdict) {
  const { run, state, kind, above_s: above, first_above_s: firstAbove } = verdict;
  const cell = (className, ...content) => element('td', { className }, ...content);
  const isSeen = above > 0 && firstAbove !== null;
  const row = element('tr', { className: state },
    cell('state', element('span', { textContent: SIGNS[state] }), ` ${verdict.verdict === 'missed' ? 'missed' : WORDS[state]}`),
    element('th', { scope: 'row', textContent: subjectOf(verdict) + ({ work: ', work done', changes: ', changes' }[kind] || '') }),
    cell('peak', measuredText(verdict)),
    cell('against', againstBound(verdict)),
    cell('above', isSeen ? `for ${inSeconds(above)}` : ''),
    cell('first', isSeen ? `first at ${clock(1000 * firstAbove)}` : ''));
  if (runs.length > 1) row.append(cell('run', stroke(run), run.name));
  return row;
}

// How many of which state, the worst first.
function verdictSum(verdicts) {
  const numberOf = (state) => verdicts.filter((one) => one.state === state).length;
  const all = `${verdicts.length} limit${verdicts.length > 1 ? 's' : ''}`;
  if (numberOf('passed')) return ['passed', numberOf('passed') === verdicts.length ? `${all} passed` : `${numberOf('passed')} of ${all} passed`];
  if (numberOf('unjudged')) return ['unjudged', `${numberOf('unjudged')} of ${all} without a verdict`];
  return ['kept', verdicts.length > 1 ? `All ${all} kept` : 'Limit kept'];
}

const SHOWN_VERDICTS = 6;

function showVerdict() {
  const place = document.querySelector('.verdict');
  const verdicts = runs.flatMap((run) => run.verdicts).sort(byUrgency);
  for (const run of runs.filter((one) => one.standstill !== null)) {
    place.querySelector('.stood').append(element('p', {}, element('b', { textContent: `${run.name}: the daemon stood still from ` +
      `${clock(run.standstill)} on` }), ', and sampled and decided nothing from then on.'));
  }
  if (!verdicts.length) {
    place.querySelector('.sum').textContent = 'No limit was set: with --limit NAME=43C this page begins with a verdict.';
    return;
  }
  const [state, text] = verdictSum(verdicts);
  place.querySelector('.sum').classList.add(state);
  place.querySelector('.sum').replaceChildren(element('span', { textContent: SIGNS[state] }), ` ${text}`);
  const heads = ['Verdict', 'Limit of', 'Measured', 'Against the limit', 'Time above', 'First', ...(runs.length > 1 ? ['Run'] : [])];
  const tableOf = (some) => element('table', {}, element('caption', { className: 'unseen', textContent: 'Limits' }),
    element('thead', {}, element('tr', {}, ...heads.map((head) => element('th', { scope: 'col', textContent: head })))),
    element('tbody', {}, ...some.map(verdictRow)));
  // All that failed, and of the rest as many as a glance takes in.
  const shown = Math.max(SHOWN_VERDICTS, verdicts.filter((one) => one.state !== 'kept').length);
  const some = verdicts.slice(0, verdicts.length > shown + 1 ? shown : verdicts.length);
  const rest = verdicts.slice(some.length);
  place.querySelector('.limits').replaceChildren(tableOf(some));
  if (rest.length) {
    place.querySelector('.limits').append(element('details', {},
      element('summary', { textContent: `${rest.length} more, all kept` }), tableOf(rest)));
  }
}

// ---- What each run has done

// The price of the cool skin.
function showWork() {
  const items = runs.map((run) => {
    const sources = run.performance.filter((source) => source.demanded > 0).sort((a, b) => byNature(a.source, b.source));
    const done = sources.map((source) => element('span', {}, `${source.source} `, element('b', { textContent: workOf(source) })));
    return done.length ? element('li', {}, stroke(run), ...(runs.length > 1 ? [element('span', { textContent: run.name })] : []), ...done) : '';
  }).filter((item) => item);
  document.querySelector('.work').hidden = !items.length;
  document.querySelector('.work ul').replaceChildren(...items);
}

const workOf = (source) => `${((100 * source.delivered) / source.demanded).toFixed(1)} %`;

// ---- The figures

// Rows of a name, what it is, and a text for each run.
function figures() {
  const rows = [];
  const sensors = runs.flatMap((run) => run.sensors.filter((sensor) => sensor.kind !== 'plant' || run.verdicts.some((one) => one.track === sensor)));
  for (const tracks of grouped(sensors, labelOf).sort((a, b) => byNature(labelOf(a[0]), labelOf(b[0])))) {
    rows.push([labelOf(tracks[0]), 'peak', (run) => {
      const track = tracks.find((one) => one.run === run);
      return track && track.highest > -Infinity ? `${inDegrees(track.highest)} °C` : '–';
    }]);
  }
  const names = new Set(runs.flatMap((run) => run.performance.filter((one) => one.demanded > 0).map((one) => one.source)));
  for (const name of [...names].sort(byNature)) {
    rows.push([name, 'work done of that asked for', (run) => {
      const source = run.performance.find((one) => one.source === name && one.demanded > 0);
      return source ? workOf(source) : '–';
    }]);
  }
  for (const name of [...new Set(runs.flatMap((run) => run.performance.map((one) => one.source)))].sort(byNature)) {
    rows.push([name, 'energy', (run) => {
      const source = run.performance.find((one) => one.source === name);
      return source ? `${source.joules.toFixed(1)} J` : '–';
    }]);
  }
  return rows;
}

function runHeads() {
  return runs.map((run) => element('th', { scope: 'col' }, stroke(run), run.name));
}

function showFigures() {
  const place = document.querySelector('.figures');
  const rows = figures();
  place.querySelector('table').replaceChildren(
    element('caption', { className: 'unseen', textContent: 'Figures of each run' }),
    element('thead', {}, element('tr', {}, element('th', { scope: 'col', textContent: 'Of' }),
                                 element('th', { scope: 'col', textContent: 'Figure' }), ...runHeads())),
    element('tbody', {}, element('tr', {}, element('th', { scope: 'row', textContent: 'run' }), element('td', { textContent: 'duration' }),
                                 ...runs.map((run) => element('td', { textContent: clock(run.duration) }))),
            ...rows.map(([name, what, textOf]) => element('tr', {}, element('th', { scope: 'row', textContent: name }),
              element('td', { textContent: what }), ...runs.map((run) => element('td', { textContent: textOf(run) }))))));
}

// ---- The values of the charts as a table, at the times of the axis

const valuesTable = document.querySelector('.at-times');

function showValuesTable() {
  if (!valuesTable.open) return;
  isTableStale = false;
  const times = timeTicks();
  const rows = lanes.filter((lane) => lane.visible() && lane.tracks.length).flatMap((lane) => lane.shownTracks().map((track) =>
    element('tr', {}, element('th', { scope: 'row', textContent: lane.name + (runs.length > 1 ? `, ${track.run.name}` : '') }),
            ...times.map(({ time }) => element('td', { textContent: lane.describeAt(track, time) })))));
  valuesTable.querySelector('table').replaceChildren(
    element('caption', { className: 'unseen', textContent: 'Values of the charts over time' }),
    element('thead', {}, element('tr', {}, element('th', { scope: 'col', textContent: 'Chart' }),
                                 ...times.map(({ label }) => element('th', { scope: 'col', textContent: label })))),
    element('tbody', {}, ...rows));
}
valuesTable.addEventListener('toggle', showValuesTable);

// ---- Runs

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

// ---- Which charts there are

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
  return period ? `${what} · every ${span(period)}` : what;
}

function aboutAlgorithm({ run, kind, sensor, devices, scenario }) {
  const parts = [scenario, kind === 'ss' ? 'steps' : 'levels'];
  if (sensor !== null) parts.push(`${run.sensors[sensor].name}${devices.length ? ' → ' : ''}` +
    devices.map((index) => run.devices[index].name).join(', '));
  return parts.join(' · ');
}

function addGroup(heading, made) {
  if (!made.length) return;
  charts.append(element('div', { className: 'group' }, element('h2', { textContent: heading, className: heading === 'In force' ? 'unseen' : '' }), ...made.map((lane) => lane.section)));
  lanes.push(...made);
  for (const lane of made) nearness.observe(lane.section);
  addChoices(heading, made);
}

function addChoices(heading, made) {
  document.querySelector('.choices').append(element('h2', { textContent: heading, className: heading === 'In force' ? 'unseen' : '' }), ...made.map((lane) => {
    const box = element('input', { type: 'checkbox', checked: true });
    box.dataset.lane = lane.section.dataset.lane;
    box.addEventListener('change', () => {
      lane.shown = box.checked;
      redraw();
    });
    return element('label', {}, box, lane.name);
  }));
}

// What is limited, fails or is throttled stands first; then the rest by its kind, what is flat last.
function buildLanes() {
  const names = [];
  if (runs.some((run) => run.scenarios.length)) names.push(new NameLane('Scenario', (run) => run.scenarios));
  if (runs.some((run) => run.configurations.length > 1))
    names.push(new NameLane('Configuration', (run) => run.configurations));
  addGroup('In force', names);

  const sensors = runs.flatMap((run) => run.sensors);
  const isNode = (sensor) => sensor.kind === 'plant';
  const byName = (track) => track.name;
  const inOrder = (made) => made.sort((a, b) => a.isFlat - b.isFlat || byNature(a.name, b.name));
  const temperaturesOf = (tracks) => inOrder(grouped(tracks, byName).map((one) => new TemperatureLane(one)));
  const temperatures = temperaturesOf(sensors.filter((sensor) => !isNode(sensor)));
  const nodes = temperaturesOf(sensors.filter(isNode));
  const devices = inOrder(grouped(runs.flatMap((run) => run.devices).filter((device) => device.course.times.length), byName)
    .map((one) => new DeviceLane(one)));
  const algorithms = grouped(runs.flatMap((run) => run.algorithms).filter((algorithm) => algorithm.highest >= 0),
                             (algorithm) => `${algorithm.name} ${algorithm.scenario}`)
    .map((one) => new AlgorithmLane(one));

  const powers = inOrder(grouped(runs.flatMap((run) => run.sources).filter((source) => source.course.times.length), byName)
    .map((one) => new PowerLane(one)));

  const urgent = [...temperatures, ...nodes, ...devices, ...powers].filter((lane) => lane.urgency() !== null)
    .sort((a, b) => a.urgency() - b.urgency() || (a.urgency() === 0 ? b.worst.excess - a.worst.excess : 0));
  const others = (made) => made.filter((lane) => lane.urgency() === null);
  const other = urgent.length ? 'Other ' : '';
  const headed = (text) => (other ? other + text : text[0].toUpperCase() + text.slice(1));
  addGroup('Limits and throttling', urgent);
  addGroup(headed('temperatures'), others(temperatures));
  addGroup(headed('devices'), others(devices));
  addGroup(headed('sources of heat'), others(powers));
  addGroup('Algorithms', algorithms);
  addGroup('Nodes of the plant', others(nodes));

  const time = new TimeLane();
  lanes.push(time);
  charts.append(time.section);
}

// ---- Where it comes from

function showOrigin() {
  const list = document.querySelector('.origin');
  const add = (name, ...content) => {
    if (content[0] !== '') list.append(element('dt', { textContent: name }), element('dd', {}, ...content));
  };
  add('Command', element('code', { textContent: origin.command }));
  add('Version', `thermalctl ${origin.version}`);
  add('Date', element('time', { dateTime: origin.date, textContent: origin.date.replace('T', ' ').replace('Z', ' UTC') }));
  add('Seed', origin.seed);
  for (const { path, sha256 } of origin.inputs) {
    add('Input', element('span', { textContent: path === '-' ? 'standard input' : path }), ' ',
        element('code', { textContent: sha256 ? `SHA-256 ${sha256}` : 'cannot be read again' }));
  }
}

// ---- The page

function setTheme(name) {
  root.dataset.theme = name;
  styles.clear();
  document.querySelector('.verdict .stood').replaceChildren();
  showVerdict();
  showWork();
  showFigures();
  runButtons();
  redraw();
}

document.title = document.querySelector('h1').textContent = title;
buildLanes();
showOrigin();
if (lanes.some((lane) => lane.marksOfAll && lane.marksOfAll.length)) root.classList.add('marked');
const prefersDark = matchMedia('(prefers-color-scheme: dark)');
setTheme(prefersDark.matches ? 'dark' : 'light');
prefersDark.addEventListener('change', (event) => setTheme(event.matches ? 'dark' : 'light'));
addEventListener('resize', () => {
  styles.clear();
  redraw();
});

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
