// Makes the JSON lines of a fleet from recorded runs of the launcher, and prints the truth about it.
//     node make-fleet.mjs RECORDINGS OUT MACHINES LINES SEED
// RECORDINGS holds the exported lines of one run of each kind, as FleetRecorder.cpp names them. Every machine gets a file in
// OUT with at least LINES lines: a run a day, each a recording with another machine, day, modem, version and start times. The
// truth is printed on standard output as JSON. It comes from the decisions made here, not from a database; the same seed
// gives the same fleet.
import { closeSync, mkdirSync, openSync, readFileSync, writeSync } from 'node:fs';
import { join } from 'node:path';

const [recordings, out, machines, lines, seed] = process.argv.slice(2);

const MODEMS = [
    { vendor: '12d1', modem: '1001', cdrom: '1446', share: 0.5 },
    { vendor: '19d2', modem: '0031', cdrom: '2000', share: 0.3 },
    { vendor: '0af0', modem: '6971', cdrom: 'd033', share: 0.15 },
    { vendor: '1199', modem: '68a3', cdrom: '0fff', share: 0.05 },
];
// With 1.4.0, the bundle for one modem lacks its executable, and crashes are more frequent; 1.4.1 mends both, but is slower
// to start the application.
const VERSIONS = [
    { name: '1.3.0', from: 1, median: 9, spread: 0.4, crashes: 0.01, losesExecutableOf: null },
    { name: '1.4.0', from: 5, median: 10, spread: 0.5, crashes: 0.05, losesExecutableOf: '0031' },
    { name: '1.4.1', from: 11, median: 28, spread: 0.9, crashes: 0.01, losesExecutableOf: null },
];
const FIRST_DAY = Date.UTC(2026, 8, 1), DAY = 24 * 3600 * 1000;

/** mulberry32: the same numbers for the same seed, on every machine. */
function randomNumbers(seed) {
    let state = seed >>> 0;
    return () => {
        state = (state + 0x6d2b79f5) >>> 0;
        let t = Math.imul(state ^ (state >>> 15), 1 | state);
        t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
        return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
    };
}
// Each run has its own random numbers, which depend neither on other runs nor on the length of the recordings.
let random;
function drawFor(machine, run) {
    random = randomNumbers(Math.imul(Number(seed), 0x9e3779b1) ^ Math.imul(machine, 0x85ebca6b) ^ Math.imul(run, 0xc2b2ae35));
}
const normal = () => Math.sqrt(-2 * Math.log(1 - random())) * Math.cos(2 * Math.PI * random());
function choose(choices) {
    let rest = random();
    return choices.find((choice) => (rest -= choice.share) < 0) ?? choices[choices.length - 1];
}

// ---- a recording as a pattern of runs -----------------------------------------------------------------------

const STARTS = 'Start executable : ', FAILED = ' failed : status = ';

/** The fixed parts of each line of a recording, for one modem and one version, and the times that vary. */
class Pattern {
    constructor(name, modem, version) {
        const text = readFileSync(join(recordings, `${name}.jsonl`), 'utf8');
        const decimal = (vendor, product) => `${parseInt(vendor, 16)}|${parseInt(product, 16)}`;
        const replaced = text
            .replaceAll('Vid_12d1&Pid_1001', `Vid_${modem.vendor}&Pid_${modem.modem}`)
            .replaceAll('Vid_12d1&Pid_1446', `Vid_${modem.vendor}&Pid_${modem.cdrom}`)
            .replaceAll('Vid_12d1', `Vid_${modem.vendor}`)
            .replaceAll(decimal('12d1', '1001'), decimal(modem.vendor, modem.modem))
            .replaceAll(decimal('12d1', '1446'), decimal(modem.vendor, modem.cdrom));
        const rows = replaced.trimEnd().split('\n').map((line) => JSON.parse(line));
        this.version = version;
        // Limits the gaps between lines, so that the load of the recording machine does not show.
        let last = 0, quiet = 0;
        for (const row of rows.filter(({ elapsed }) => elapsed !== null)) {
            quiet += Math.min(Math.max(row.elapsed - last, 0), 1);
            last = row.elapsed;
            row.elapsed = quiet;
        }
        this.modem = `USB#Vid_${modem.vendor}&Pid_${modem.modem}`;
        this.failures = new Map();
        const crash = rows.find((row) => row.call === 'SIGNAL_FILTER' && row.kind === 'message')?.text ?? null;
        this.crash = crash === 'SIGNAL_SOTWARE_TERMINATION' ? null : crash;
        this.innermost = rows[rows.findIndex((row) => row.kind === 'stack' && row.text === 'SIGNAL_FILTER') + 1]?.text;
        const stranger = `Detected hardware id : USB#Vid_${modem.vendor}&Pid_14fe`;
        this.strangers = rows.filter((row) => row.text === stranger).length;
        this.length = rows.length;
        const open = new Map(); // by thread, the indices of the calls that have begun
        this.lines = rows.map((row, i) => {
            const next = rows[i + 1];
            const isStart = row.kind === 'message' && row.text.startsWith(STARTS);
            const failure = isStart && next.text?.includes(FAILED) ? Number(next.text.split(FAILED)[1]) : null;
            const isMain = isStart && !row.text.includes('.app/');
            if (failure !== null)
                this.failures.set(failure, (this.failures.get(failure) ?? 0) + 1);
            const calls = open.get(row.thread) ?? [];
            open.set(row.thread, calls);
            let begin = null;
            if (row.kind === 'call') {
                calls.push(i);
            } else if (row.kind === 'exit' && row.duration !== null) {
                do
                    begin = calls.pop();
                while (rows[begin].call !== row.call || rows[begin].depth !== row.depth);
            }
            const duration = begin === null ? row.duration : row.elapsed - rows[begin].elapsed;
            const { thread, depth, call, kind, level, number } = row;
            const versioned = row.text?.startsWith(' * Product version : ') ? ` * Product version : ${version.name}` : row.text;
            const json = (fields) => JSON.stringify(fields).slice(1, -1);
            return {
                elapsed: row.elapsed,
                run: `,${json({ version: row.version && version.name, modem: row.modem })},"line":`,
                place: `,${json({ thread, depth, call, kind })},"duration":`,
                end: `,${json({ level, number, text: versioned })}}\n`,
                call, duration, begin,
                isVersioned: row.version !== null,
                // The time that a start takes is drawn for each run.
                gap: isStart && failure === null && next.elapsed !== null ? next.elapsed - row.elapsed : null,
                isMain,
            };
        });
        this.triesToStart = this.lines.some((line) => line.isMain || line.gap !== null) || this.failures.size !== 0;
    }
}
const patterns = new Map();
function patternOf(name, modem, version) {
    const key = `${name} ${modem.vendor} ${version.name}`;
    if (!patterns.has(key))
        patterns.set(key, new Pattern(name, modem, version));
    return patterns.get(key);
}

// ---- the truth ----------------------------------------------------------------------------------------------

const truth = { lines: 0, runs: 0, tried: {}, failing: {}, starts: {}, crashes: {}, deaf: [], strangers: {}, calls: {} };
const addTo = (map, key, machine) => (map[key] ??= new Set()).add(machine);

// ---- a machine ----------------------------------------------------------------------------------------------

const two = (number) => String(number).padStart(2, '0');
const dateTexts = new Map();
function timeText(moment) {
    const day = Math.floor(moment / DAY), rest = moment - day * DAY;
    if (!dateTexts.has(day))
        dateTexts.set(day, new Date(moment).toISOString().slice(0, 11));
    return `"${dateTexts.get(day)}${two(Math.floor(rest / 3600000))}:${two(Math.floor(rest / 60000) % 60)}:${
        two(Math.floor(rest / 1000) % 60)}.${String(rest % 1000).padStart(3, '0')}"`;
}

/** One run: its lines as text. `line` is the number of the last line before it. */
function runText(pattern, machine, run, begin, line) {
    const { version } = pattern;
    const head = `{"machine":"${machine}","run":${run},"started":${timeText(begin)}`;
    const shifts = new Array(pattern.length);
    const calls = (truth.calls[version.name] ??= {});
    let shift = 0, text = '';
    pattern.lines.forEach((row, i) => {
        shifts[i] = shift;
        let duration = row.duration;
        if (row.begin !== null) {
            duration += shift - shifts[row.begin];
            if (row.isVersioned) {
                const sum = (calls[row.call] ??= [0, 0]);
                sum[0] += 1;
                sum[1] += duration;
            }
        }
        const time = row.elapsed === null ? 'null,"elapsed":null' : `${timeText(begin + row.elapsed + shift)},"elapsed":${row.elapsed + shift}`;
        text += `${head}${row.run}${line + i + 1},"time":${time}${row.place}${duration}${row.end}`;
        if (row.gap !== null) {
            const drawn = Math.max(1, Math.round(version.median * Math.exp(version.spread * normal())));
            if (row.isMain)
                (truth.starts[version.name] ??= []).push(drawn);
            shift += drawn - row.gap;
        }
    });
    return text;
}

function noteRun(pattern, machine) {
    const modemAndVersion = `${pattern.modem} ${pattern.version.name}`;
    truth.lines += pattern.length;
    ++truth.runs;
    if (pattern.triesToStart)
        addTo(truth.tried, modemAndVersion, machine);
    for (const [status, count] of pattern.failures) {
        const key = `${modemAndVersion} ${status}`;
        const entry = (truth.failing[key] ??= { machines: new Set(), failures: 0 });
        entry.machines.add(machine);
        entry.failures += count;
    }
    if (pattern.crash !== null) {
        const entry = (truth.crashes[`${pattern.crash} ${pattern.innermost} ${pattern.version.name}`] ??= { machines: new Set(), crashes: 0 });
        entry.machines.add(machine);
        ++entry.crashes;
    }
    if (pattern.strangers !== 0) {
        const entry = (truth.strangers[pattern.modem] ??= { machines: new Set(), notifications: 0 });
        entry.machines.add(machine);
        entry.notifications += pattern.strangers;
    }
}

function makeMachine(number) {
    const machine = `kiosk-${String(number).padStart(machines.length, '0')}`;
    drawFor(number, 0);
    const modem = choose(MODEMS);
    const isNotInstalled = random() < 0.03, losesExecutable = random() < 0.4, seesAnother = random() < 0.05;
    const deafFrom = random() < 0.04 ? Math.floor(random() * 10) : Infinity;
    const file = openSync(join(out, `${machine}.jsonl`), 'w');
    let line = 0, runs = 0, deafRuns = 0, since = null, versionNumber = 0;
    for (let run = 1; line < Number(lines); ++run) {
        drawFor(number, run);
        if (run >= VERSIONS[versionNumber + 1]?.from && random() < 0.2)
            ++versionNumber;
        const version = VERSIONS[versionNumber];
        const isDeaf = run > deafFrom;
        const kind = isDeaf ? 'Deaf'
            : isNotInstalled ? 'NotInstalled'
            : losesExecutable && version.losesExecutableOf === modem.modem ? 'WithoutExecutable'
            : seesAnother && random() < 0.5 ? 'OtherDeviceOfTheMaker'
            : random() < version.crashes ? 'Crashed'
            : random() < 0.005 ? 'Aborted'
            : 'Started';
        const pattern = patternOf(kind, modem, version);
        const begin = FIRST_DAY + run * DAY + Math.floor((7 + 10 * random()) * 3600000);
        writeSync(file, runText(pattern, machine, run, begin, line));
        noteRun(pattern, machine);
        line += pattern.length;
        ++runs;
        if (isDeaf) {
            ++deafRuns;
            since ??= JSON.parse(timeText(begin));
        }
    }
    closeSync(file);
    if (since !== null)
        truth.deaf.push({ machine, version: VERSIONS[versionNumber].name, since, runs, deaf_runs: deafRuns });
}

mkdirSync(out, { recursive: true });
for (let i = 1; i <= Number(machines); ++i)
    makeMachine(i);
const counted = (value) => (value instanceof Set ? value.size : value);
console.log(JSON.stringify(truth, (_, value) => counted(value)));
