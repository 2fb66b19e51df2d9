// Compares the answers to a question with the truth about a fleet.
//     node check-answers.mjs FLEET.MJS QUESTION TRUTH FILE...    the answer of fleet.mjs over the files
//     node check-answers.mjs FLEET.MJS size TRUTH FILE...        the numbers of lines and machines
//     node check-answers.mjs FLEET.MJS rows LINES FILE           whether a file holds exactly these JSON lines
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const [fleet, question, expected, ...files] = process.argv.slice(2);

const ask = (name) =>
    JSON.parse(execFileSync(process.execPath, [fleet, 'ask', '--json', name, ...files], { encoding: 'utf8', maxBuffer: 1 << 30 }));

function askOwn(statement) {
    const folder = mkdtempSync(join(tmpdir(), 'check-answers-'));
    try {
        writeFileSync(join(folder, 'own.sql'), statement);
        return ask(join(folder, 'own.sql'));
    } finally {
        rmSync(folder, { recursive: true });
    }
}

if (question === 'rows') {
    const wanted = readFileSync(expected, 'utf8').trimEnd().split('\n').map((line) => JSON.parse(line));
    const rows = askOwn('select * from lines order by line');
    assert.deepEqual(rows, wanted);
    assert.deepEqual(Object.keys(rows[0]), Object.keys(wanted[0]), 'the columns stand in the same order');
    console.log(`rows: ${rows.length} as expected`);
    process.exit();
}

const truth = JSON.parse(readFileSync(expected, 'utf8'));
if (question === 'size') {
    const [{ lines, machines }] = askOwn('select count(*) as lines, count(distinct machine) as machines from lines');
    assert.equal(lines, truth.lines);
    console.log(`lines: ${lines}\nmachines: ${machines}`);
    process.exit();
}

const VERSIONS = ['1.3.0', '1.4.0', '1.4.1'];

/** The expected answer to each question; its rows may come in any order. */
const answers = {
    'failing-modems': () =>
        Object.entries(truth.failing).map(([key, { machines, failures }]) => {
            const [modem, version, status] = key.split(' ');
            return { modem, version, status: Number(status), machines, of_machines: truth.tried[`${modem} ${version}`], failures };
        }),
    'start-times': () =>
        Object.entries(truth.starts).map(([version, times]) => {
            const sorted = [...times].sort((a, b) => a - b);
            const at = (share) => sorted[Math.ceil(share * sorted.length) - 1];
            return { version, starts: sorted.length, median: at(0.5), p90: at(0.9), p99: at(0.99), slowest: sorted.at(-1) };
        }),
    'crash-causes': () =>
        Object.entries(truth.crashes).map(([key, { machines, crashes }]) => {
            const [cause, innermost, version] = key.split(' ');
            return { cause, innermost, version, machines, crashes };
        }),
    'machines-without-hot-plug': () => truth.deaf,
    'unexpected-devices': () =>
        Object.entries(truth.strangers).map(([modem, machines]) => {
            const device = modem.replace(/.{4}$/, '14fe').toLowerCase();
            return { device, modem: modem.toLowerCase(), ...machines };
        }),
    'slower-calls': () =>
        VERSIONS.slice(1).flatMap((version, i) => {
            const before = VERSIONS[i];
            return Object.entries(truth.calls[version]).flatMap(([call, [calls, sum]]) => {
                const old = truth.calls[before][call];
                const mean = sum / calls, meanBefore = old ? old[1] / old[0] : NaN;
                const isSlower = calls >= 100 && mean > 1.5 * meanBefore && mean - meanBefore >= 1;
                return isSlower ? [{ call, before, version, calls, ms_before: meanBefore, ms: mean }] : [];
            });
        }),
};
const tenths = (number) => Math.round(number * 10) / 10;
const rounded = (row) => (row.ms === undefined ? row : { ...row, ms: tenths(row.ms), ms_before: tenths(row.ms_before) });

const rows = ask(question);
const texts = (all) => all.map((row) => JSON.stringify(rounded(row))).sort();
assert.deepEqual(texts(rows), texts(answers[question]()));
console.log(`${question}: ${rows.length} rows as expected`);
