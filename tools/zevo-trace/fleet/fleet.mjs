// Runs DuckDB on files of zevo-trace's lines: queries over many machines, and writing Parquet. docs/fleet.md.
import { existsSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const FINE = 0, PROBLEM = 1, WRONG_USAGE = 2;
const PACKAGE = '@duckdb/node-api';
const here = dirname(fileURLToPath(import.meta.url));

const USAGE = `usage: node fleet.mjs ask [--json] QUESTION FILE...
       node fleet.mjs parquet OUT [FILE...]

  ask      the answer to a question: one of the .sql files beside this program by its name, or any other file; the
           statements find the views lines and starts. FILEs are JSON lines (zevo-trace export --json-lines) or, by
           their ending .parquet, Parquet; --json gives the rows as JSON.
  parquet  writes JSON lines, without a FILE those of standard input, as the Parquet file OUT.

Exit status: 0 done, 1 something failed, 2 wrong usage.
`;

class UsageError extends Error {}

// Beside this program or above it; where ./zevo puts the npm packages of the tree; in the current folder;
// where "npm install --global" installs.
function* placesOfEngine() {
    for (let folder = here, above; ; folder = above) {
        yield folder;
        yield join(folder, 'build', 'npm');
        above = dirname(folder);
        if (above === folder)
            break;
    }
    yield process.cwd();
    yield join(dirname(process.execPath), '..', 'lib');
    yield '/usr/local/lib';
}

function findEngine() {
    const require = createRequire(import.meta.url);
    for (const place of placesOfEngine()) {
        const path = join(place, 'node_modules', PACKAGE);
        if (existsSync(path))
            return require(path);
    }
    throw new Error(`DuckDB is not installed. It comes from npm: npm install --global ${PACKAGE}`);
}

const quoted = (text) => `'${text.replaceAll("'", "''")}'`;

/** The statements of a file, read over these files instead of those that it names. */
function statementOver(name, files) {
    return readFileSync(join(here, name), 'utf8').replace(/'fleet\/[^']*'/, () => `[${files.map(quoted).join(', ')}]`);
}

async function withEngine(work) {
    const { DuckDBInstance } = findEngine();
    // What does not fit into memory is swapped there, not into the current folder.
    const folder = mkdtempSync(join(tmpdir(), 'zevo-fleet-'));
    try {
        // Nothing is loaded from the network: everything needed is built in.
        const instance = await DuckDBInstance.create(':memory:', {
            temp_directory: folder,
            autoinstall_known_extensions: 'false',
            autoload_known_extensions: 'false',
        });
        const connection = await instance.connect();
        try {
            return await work(connection);
        } finally {
            connection.closeSync();
            instance.closeSync();
        }
    } finally {
        rmSync(folder, { recursive: true, force: true });
    }
}

async function makeViews(connection, files) {
    const ofParquet = files.filter((file) => file.endsWith('.parquet')).length;
    if (ofParquet !== 0 && ofParquet !== files.length)
        throw new UsageError('either all files are Parquet or none is');
    await connection.run(statementOver(ofParquet ? 'lines-of-parquet.sql' : 'lines.sql', files));
    await connection.run(readFileSync(join(here, 'starts.sql'), 'utf8'));
}

function printTable(names, rows) {
    const cells = rows.map((row) => row.map((cell) => (cell === null ? '' : String(cell))));
    const widths = names.map((name, i) => Math.max(name.length, ...cells.map((row) => row[i].length)));
    // Numbers are aligned to the right.
    const isNumber = names.map((_, i) => rows.every((row) => row[i] === null || typeof row[i] === 'number'));
    const print = (row) =>
        console.log(row.map((cell, i) => (isNumber[i] ? cell.padStart(widths[i]) : cell.padEnd(widths[i]))).join('  ').trimEnd());
    print(names);
    cells.forEach(print);
}

/** Counts are far below what a number of JavaScript's holds exactly. Objects are decimals, or days and the like: texts. */
function plain(value) {
    if (typeof value === 'bigint')
        return Number(value);
    if (value === null || typeof value !== 'object')
        return value;
    const text = String(value);
    const number = Number(text);
    return Number.isNaN(number) ? text : number;
}

async function ask(words) {
    const asJson = words[0] === '--json';
    const [question, ...files] = asJson ? words.slice(1) : words;
    if (question === undefined || files.length === 0)
        throw new UsageError('ask takes a question and files');
    const known = join(here, `${question}.sql`);
    const path = !question.includes('/') && existsSync(known) ? known : question;
    if (!existsSync(path))
        throw new UsageError(`there is no question ${question}, and no such file`);
    await withEngine(async (connection) => {
        await makeViews(connection, files);
        const reader = await connection.runAndReadAll(readFileSync(path, 'utf8'));
        const names = reader.columnNames();
        const rows = reader.getRows().map((row) => row.map(plain));
        if (asJson)
            console.log(JSON.stringify(rows.map((row) => Object.fromEntries(row.map((cell, i) => [names[i], cell])))));
        else
            printTable(names, rows);
    });
}

async function parquet(words) {
    const [out, ...files] = words;
    if (out === undefined || out.startsWith('-'))
        throw new UsageError('parquet takes the file to write, and files of JSON lines');
    await withEngine(async (connection) => {
        await connection.run(statementOver('lines.sql', files.length === 0 ? ['/dev/stdin'] : files));
        await connection.run(`copy lines to ${quoted(out)} (format parquet, compression zstd)`);
    });
}

const commands = { ask, parquet };
const [command, ...words] = process.argv.slice(2);
try {
    if (command === '--help' || command === '-h') {
        process.stdout.write(USAGE);
    } else {
        if (!Object.hasOwn(commands, command ?? ''))
            throw new UsageError(command === undefined ? 'what is to be done?' : `there is no command ${command}`);
        await commands[command](words);
    }
    process.exitCode = FINE;
} catch (problem) {
    const isUsage = problem instanceof UsageError;
    process.stderr.write(`fleet.mjs: ${problem.message}${isUsage ? '; node fleet.mjs --help tells more' : ''}\n`);
    process.exitCode = isUsage ? WRONG_USAGE : PROBLEM;
}
