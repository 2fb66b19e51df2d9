// The page shows every file's statement, word for word, and no other statement.
//     node check-page.mjs PAGE FOLDER
// The name of the file is above each block of SQL, as [NAME.sql](...).
import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';

const [page, folder] = process.argv.slice(2);
const text = readFileSync(page, 'utf8');
const quoted = new Map();
let complaints = 0;
function complain(what) {
    console.log(what);
    ++complaints;
}
for (const block of text.matchAll(/```sql\n(.*?)```/gs)) {
    const name = [...text.slice(0, block.index).matchAll(/\[([\w-]+\.sql)\]\(/g)].at(-1)?.[1];
    if (name === undefined || quoted.has(name))
        complain(`${page}: the block "${block[1].split('\n')[0]}" names no file of its own above it`);
    quoted.set(name, block[1]);
}
for (const name of readdirSync(folder).filter((file) => file.endsWith('.sql')))
    if (!quoted.has(name))
        complain(`${page} does not show ${name}`);
for (const [name, statement] of quoted) {
    let file;
    try {
        file = readFileSync(join(folder, name), 'utf8');
    } catch {
        complain(`${page} shows ${name}, which is not there`);
        continue;
    }
    if (file !== statement)
        complain(`${page} shows ${name} otherwise than it is`);
}
console.log(`${quoted.size} files are quoted`);
process.exitCode = complaints === 0 ? 0 : 1;
