'use strict';

// What the page holds: the runs, their courses of temperatures, levels and names.

// The numbers of a text, which the writer of this file made in base 64 digits of five bits.
function numbersOf(text) {
  const digits = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';
  const digitOf = new Uint8Array(128);
  [...digits].forEach((digit, index) => { digitOf[digit.charCodeAt(0)] = index; });
  const numbers = [];
  for (let position = 0; position < text.length;) {
    let number = 0;
    let scale = 1;
    for (;;) {
      const digit = digitOf[text.charCodeAt(position++)];
      number += (digit & 31) * scale;
      if (digit < 32) break;
      scale *= 32;
    }
    numbers.push(number % 2 ? -(number - 1) / 2 : number / 2);
  }
  return numbers;
}

// Of differences of the value and second differences of the time.
function decodePoints(text) {
  const numbers = numbersOf(text);
  const course = { times: [], values: [] };
  let time = 0;
  let step = 0;
  let value = 0;
  for (let i = 0; i < numbers.length; i += 2) {
    step += numbers[i];
    time += step;
    value += numbers[i + 1];
    course.times.push(time);
    course.values.push(value);
  }
  return course;
}

// Samples, whose lowest and highest are their values, or stretches of that length, each at its
// middle.
function decodeEnvelope(text, stretch) {
  if (stretch === 1) {
    const course = decodePoints(text);
    return { ...course, lows: course.values, highs: course.values };
  }
  const numbers = numbersOf(text);
  const course = { times: [], values: [], lows: [], highs: [] };
  let number = 0;
  let step = 0;
  let mean = 0;
  for (let i = 0; i < numbers.length; i += 4) {
    step += numbers[i];
    number += step;
    mean += numbers[i + 1];
    course.times.push((number + 0.5) * stretch);
    course.values.push(mean);
    course.lows.push(mean - numbers[i + 2]);
    course.highs.push(mean + numbers[i + 3]);
  }
  return course;
}

// How many of the ascending times are not behind that one.
function countUpTo(times, time) {
  let low = 0;
  let high = times.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (times[middle] <= time) low = middle + 1;
    else high = middle;
  }
  return low;
}

// The value of the last point at or before a time; null without any.
function valueAt(course, time) {
  const count = countUpTo(course.times, time);
  return count ? course.values[count - 1] : null;
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
function interrupted(course, gaps, holds) {
  if (!gaps.length) return course;
  const { times, values, lows = values, highs = values } = course;
  const cut = { times: [], values: [], lows: [], highs: [] };
  const add = (time, i) => {
    cut.times.push(time);
    cut.values.push(i === null ? NaN : values[i]);
    cut.lows.push(i === null ? NaN : lows[i]);
    cut.highs.push(i === null ? NaN : highs[i]);
  };
  let next = 0;
  for (const [from, to] of gaps) {
    for (; next < times.length && times[next] <= from; ++next) add(times[next], next);
    if (next === 0) continue;
    // A line of steps ends at its last point.
    if (holds && times[next - 1] !== from) add(from, next - 1);
    add(from + 1, null);
    if (holds && times[next] !== to) add(to, next - 1);
  }
  for (; next < times.length; ++next) add(times[next], next);
  return cut;
}

function namedStretches({ names, points }, run) {
  return stretchesOf(interrupted(decodePoints(points), run.gaps, true), run.duration)
    .map((stretch) => ({ ...stretch, name: names[stretch.value] }));
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

const lengthOf = (stretches) => stretches.reduce((sum, { from, to }) => sum + to - from, 0);

function extremeOf(values, isBetter, start) {
  return values.reduce((best, value) => (isBetter(value, best) ? value : best), start);
}
const highest = (values) => extremeOf(values, (a, b) => a > b, -Infinity);
const lowest = (values) => extremeOf(values, (a, b) => a < b, Infinity);

function readTrack(track, run, holds, decode) {
  track.run = run;
  const gaps = [...run.gaps, ...(track.gaps || [])].sort((a, b) => a[0] - b[0]);
  track.course = interrupted(decode(track), gaps, holds);
  delete track.points;
}

function readRun(run, index) {
  run.index = index;
  run.shown = true;
  run.scenarios = namedStretches(run.scenarios, run);
  run.configurations = namedStretches(run.configurations, run);
  for (const sensor of run.sensors) {
    readTrack(sensor, run, false, ({ points, stretch }) => decodeEnvelope(points, stretch));
    sensor.highest = highest(sensor.course.highs || sensor.course.values);
    sensor.lowest = lowest(sensor.course.lows || sensor.course.values);
  }
  for (const track of [...run.devices, ...run.algorithms]) {
    readTrack(track, run, true, ({ points }) => decodePoints(points));
    track.highest = highest(track.course.values);
    track.lowest = lowest(track.course.values);
  }
  for (const source of run.sources) {
    readTrack(source, run, true, ({ points }) => decodePoints(points));
    source.highest = highest(source.course.values);
    source.lowest = lowest(source.course.values);
    source.work = run.performance.find((one) => one.source === source.name);
  }
  for (const algorithm of run.algorithms) {
    const whole = [{ from: 0, to: run.duration }];
    const inScenario = run.scenarios.filter((stretch) => stretch.name === algorithm.scenario);
    const inConfiguration = run.configurations.filter((stretch) => stretch.name === algorithm.configuration);
    algorithm.inForce = common(run.scenarios.length ? inScenario : whole,
                               run.configurations.length ? inConfiguration : whole);
  }
  run.verdicts = run.verdicts.map((verdict) => readVerdict(run, verdict));
  return run;
}

// Which of its limits and requirements: what it is of, and how much that is beyond it, so that the
// worst of all kinds can stand first.
function readVerdict(run, verdict) {
  const { budget, name, plant, bound, beyond, allowed_s: allowed, above_s: above } = verdict;
  const kind = allowed !== undefined ? 'time' : (/^(work|changes|p[\d.]+):/.exec(budget) || ['', 'peak'])[1];
  const among = { work: run.sources, changes: run.devices }[kind] || run.sensors.filter((one) => (one.kind === 'plant') === plant);
  const isTemperature = among !== run.sources && among !== run.devices;
  return {
    ...verdict, run, kind, isTemperature,
    state: { kept: 'kept', unjudged: 'unjudged' }[verdict.verdict] || 'passed',
    track: among.find((one) => one.name === name),
    excess: kind === 'time' ? (above - allowed) / 60 : isTemperature ? beyond : (10 * beyond) / (bound || 1),
  };
}

const SHORTEST_WINDOW = 1000; // milliseconds

const { title, origin, runs, traced } = JSON.parse(document.getElementById('data').textContent);
runs.forEach(readRun);
const duration = Math.max(SHORTEST_WINDOW, ...runs.map((run) => run.duration));
const tintedScenarios = [...new Set(runs.flatMap((run) => run.scenarios.map((stretch) => stretch.name)))]
  .filter((name) => name !== 'Default');

// ---- What of a course is drawn

// The points of a stretch of time, with one on either side; where there are more than two a column
// of that many milliseconds, the lowest, mean and highest of each column.
function outlineOf({ times, values, lows = values, highs = values }, from, to, column) {
  const first = Math.max(0, countUpTo(times, from) - 1);
  const last = Math.min(times.length, countUpTo(times, to) + 1);
  const outline = { times: [], values: [], lows: [], highs: [] };
  const add = (time, value, low, high) => {
    outline.times.push(time);
    outline.values.push(value);
    outline.lows.push(low);
    outline.highs.push(high);
  };
  if ((last - first) * column <= 2 * (to - from)) {
    for (let i = first; i < last; ++i) add(times[i], values[i], lows[i], highs[i]);
    return outline;
  }
  let number = null;
  let count = 0;
  let sum = 0;
  let low = Infinity;
  let high = -Infinity;
  const finish = () => {
    if (count) add((number + 0.5) * column, sum / count, low, high);
    count = sum = 0;
    low = Infinity;
    high = -Infinity;
  };
  for (let i = first; i < last; ++i) {
    const isGap = Number.isNaN(values[i]);
    if (isGap || Math.floor(times[i] / column) !== number) finish();
    if (isGap) {
      add(times[i], NaN, NaN, NaN);
      continue;
    }
    number = Math.floor(times[i] / column);
    ++count;
    sum += values[i];
    if (lows[i] < low) low = lows[i];
    if (highs[i] > high) high = highs[i];
  }
  finish();
  return outline;
}

// The points of a stretch of time, with what holds at its ends; of more than four a column the
// first, lowest, highest and last of each.
function stepsOf({ times, values }, from, to, column) {
  const first = Math.max(0, countUpTo(times, from) - 1);
  const last = countUpTo(times, to);
  const steps = { times: [], values: [] };
  const add = (i) => {
    steps.times.push(times[i]);
    steps.values.push(values[i]);
  };
  const isCrowded = (last - first) * column > 4 * (to - from);
  for (let i = first; i < last;) {
    let end = i + 1;
    while (isCrowded && end < last && Math.floor(times[end] / column) === Math.floor(times[i] / column)) ++end;
    let low = i;
    let high = i;
    for (let j = i; j < end; ++j) {
      if (values[j] < values[low]) low = j;
      if (values[j] > values[high]) high = j;
    }
    for (const pick of new Set([i, Math.min(low, high), Math.max(low, high), end - 1])) add(pick);
    i = end;
  }
  return steps;
}
