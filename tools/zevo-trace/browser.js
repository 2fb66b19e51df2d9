// Shows a page of `zevo-trace view` in a headless browser, controlled through a library that ./zevo installs from npm.
'use strict';
const fs = require('fs');
const path = require('path');
const {pathToFileURL} = require('url');

const CHROMIUM = ['chromium', 'chromium-browser'];

function chromium() {
    for (const folder of (process.env.PATH || '').split(':'))
        for (const name of CHROMIUM)
            if (folder !== '' && fs.existsSync(path.join(folder, name)))
                return path.join(folder, name);
    throw new Error('there is no chromium here; `./zevo test` installs it');
}

// withBrowser(NODE_MODULES, WORK): starts a browser without any network, calls WORK with it, and ends it. NODE_MODULES is
// the folder of the packages, build/npm/node_modules in a tree.
exports.withBrowser = async function (nodeModules, work) {
    const playwright = require(path.resolve(nodeModules, 'playwright-core'));
    // If this runs as root in a container, the browser has no sandbox. It opens only pages of our own.
    const browser = await playwright.chromium.launch({executablePath: chromium(), args: ['--no-sandbox']});
    try {
        return await work(await browser.newContext({offline: true, viewport: {width: 1200, height: 500}}));
    } finally {
        await browser.close();
    }
};

// openPage(BROWSER, FILE, [HASH]): opens the file, with HASH at the end of its address, and returns its tab
// when the viewer shows the trace. The tab has two more members: asked, the requested addresses, and seconds,
// how long it took.
exports.openPage = async function (browser, file, hash = '') {
    const tab = await browser.newPage();
    tab.asked = [];
    tab.problems = [];
    tab.on('request', request => tab.asked.push(request.url()));
    tab.on('pageerror', error => tab.problems.push(String(error)));
    tab.on('dialog', dialog => {
        tab.problems.push(dialog.message());
        dialog.dismiss();
    });
    const begin = process.hrtime.bigint();
    await tab.goto(pathToFileURL(path.resolve(file)) + hash);
    // The title names the profile once it is read. The second frame after that is drawn from it.
    await tab.waitForFunction(() => document.title.endsWith(' - speedscope'));
    await tab.evaluate(() => new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done))));
    tab.seconds = Number(process.hrtime.bigint() - begin) / 1e9;
    return tab;
};
