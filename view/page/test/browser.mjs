// What the tests share: the command, a browser, documents that are made on the way.
import { execFileSync, spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { chromium } from 'playwright-core';

export const top = fileURLToPath(new URL('../../../', import.meta.url));
export const examples = join(top, 'examples/documents');
const program = process.env.ZR_DMTREE ?? 'dmtree';
export const folder = mkdtempSync(join(tmpdir(), 'dmtree-page-'));
process.on('exit', () => rmSync(folder, { recursive: true, force: true }));

export const dmtree = (...args) => execFileSync(program, args, { encoding: 'utf8', maxBuffer: 1 << 28 });
/** With its exit code and what it said. */
export const tried = (...args) => spawnSync(program, args, { encoding: 'utf8', maxBuffer: 1 << 28 });
export const command = program;

let made = 0;
export function file(text, ending) {
    const path = join(folder, `made${++made}.${ending}`);
    writeFileSync(path, text);
    return path;
}

/** The page of a document, as a file. */
export function pageOf(document, ...options) {
    const path = join(folder, `page${++made}.html`);
    dmtree('view', ...options, '-o', path, document);
    return path;
}

/** An example, changed: `change` is given every object of it. */
export function changed(example, change) {
    const visit = (value) => {
        if (Array.isArray(value))
            value.forEach(visit);
        else if (value !== null && typeof value === 'object') {
            change(value);
            Object.values(value).forEach(visit);
        }
    };
    const root = JSON.parse(readFileSync(join(examples, example), 'utf8'));
    visit(root);
    return file(JSON.stringify(root), 'json');
}

export const launch = () => chromium.launch({
    executablePath: process.env.ZR_CHROMIUM ?? '/usr/bin/chromium',
    args: ['--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking',
        '--disable-component-update', '--disable-sync', '--force-color-profile=srgb', '--font-render-hinting=none'],
});

/** Opens a page from disk. What it fetches, and what goes wrong in it, is kept. */
export async function open(browser, path, options = {}) {
    const page = await browser.newPage({ viewport: { width: 1280, height: 720 }, ...options });
    const trouble = [];
    page.on('console', (message) => { if (message.type() === 'error' || message.type() === 'warning') trouble.push(message.text()); });
    page.on('pageerror', (error) => trouble.push(String(error)));
    page.on('dialog', (dialog) => { trouble.push(`dialog ${dialog.message()}`); void dialog.dismiss(); });
    page.on('request', (request) => { if (request.url() !== `file://${path}`) trouble.push(`asked for ${request.url()}`); });
    await page.goto(`file://${path}`);
    return { page, trouble };
}
