// Bundles the page and writes it as a C++ source: the page's text up to the data, and behind it.
//
//     node build.mjs OUT.cpp
//
// The policy allows this script and this style alone, by their hashes.
import { build } from 'esbuild';
import { createHash } from 'node:crypto';
import { readFileSync, writeFileSync } from 'node:fs';

const here = new URL('.', import.meta.url).pathname;
const bundled = async (entry, loader) => {
    const result = await build({
        entryPoints: [here + entry], bundle: true, minify: true, write: false, charset: 'ascii',
        target: ['es2020'], format: 'iife', legalComments: 'none', loader,
    });
    return result.outputFiles[0].text.trim().replaceAll('</script', '<\\/script').replaceAll('</style', '<\\/style');
};
const hash = (text) => `'sha256-${createHash('sha256').update(text).digest('base64')}'`;

const script = await bundled('src/main.ts', {});
const style = await bundled('src/page.css', {});
const body = readFileSync(here + 'src/page.html', 'utf8');
const policy = "default-src 'none'; base-uri 'none'; form-action 'none'; "
    + `script-src ${hash(script)}; style-src ${hash(style)}`;
const head = '<!DOCTYPE html>\n<html lang="en">\n<head>\n<meta charset="utf-8">\n'
    + `<meta http-equiv="Content-Security-Policy" content="${policy}@CONNECT@">\n`
    + '<meta name="viewport" content="width=device-width, initial-scale=1">\n'
    + '<meta name="color-scheme" content="light dark">\n'
    + `<title>@TITLE@</title>\n<style>${style}</style>\n</head>\n`;
const tail = `</script>\n<script>${script}</script>\n`;

// Raw strings may be as long as a compiler's limit, which all share down to 64 KiB.
const literal = (text) => {
    const pieces = text.match(/[^]{1,8000}/g) ?? [''];
    return pieces.map((piece) => `    R"~page~(${piece})~page~"`).join('\n');
};
const [before, between] = (head + body + '<script type="application/json" id="scene">').split('@TITLE@');
const [policyHead, titleHead] = before.split('@CONNECT@');
writeFileSync(process.argv[2], `// Made by view/page/build.mjs.
#include "vwPageParts.h"

const view::PageParts* view::pageParts()
{
    static constexpr PageParts parts = {
${literal(policyHead)},
${literal(titleHead)},
${literal(between)},
${literal(tail)},
    };
    return &parts;
}
`);
