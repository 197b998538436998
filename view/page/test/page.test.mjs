// The page in a browser: what it draws, says and does, against the document and against the library.
import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { after, before, test } from 'node:test';
import { build } from 'esbuild';
import { changed, command, dmtree, examples, file, launch, open, pageOf, top, tried } from './browser.mjs';

const commercial = join(examples, 'commercial-25.json');
let browser;
before(async () => { browser = await launch(); });
after(async () => { await browser?.close(); });

const sceneOf = (path) => JSON.parse(readFileSync(path, 'utf8').match(/id="scene">(.*?)<\/script>/s)[1]);

test('labels are the library\'s, in every mode', async () => {
    const bundle = await build({ entryPoints: [join(top, 'view/page/src/timecode.ts')], bundle: true, write: false, format: 'esm' });
    const { label, fromLabel } = await import('data:text/javascript,' + encodeURIComponent(bundle.outputFiles[0].text));
    const modes = ['23.976 fps', '24 fps', '25 fps', '29.97 fps DF', '29.97 fps NDF', '30 fps', '50 fps', '59.94 fps DF', '59.94 fps NDF', '60 fps'];
    for (const name of modes) {
        const [mode] = sceneOf(pageOf(changed('commercial-25.json', (set) => { if ('fcm' in set) set.fcm = name; }))).modes;
        assert.equal(mode.name, name);
        const frames = [0, 1, -1, -1800, 2147483646];
        for (let minute = 0; minute < 130; ++minute) // around the labels that are dropped
            for (const beside of [-1, 0, 1, 2, 3])
                frames.push(Math.round(minute * 60 * mode.rate) + beside);
        for (let seed = 7; frames.length < 1000; seed = seed * 48271 % 2147483647)
            frames.push(seed % 6000000);
        const options = ['tc', '--fcm', name];
        const expected = dmtree(...options, '--', ...frames.map(String)).trim().split('\n').map((line) => line.split(/\s+/).at(-1));
        frames.forEach((frame, i) => assert.equal(label(mode, frame), expected[i], `${frame} in ${name}`));
        frames.filter((frame) => frame >= 0).forEach((frame) => assert.equal(fromLabel(mode, label(mode, frame)), frame, name));
    }
});

/** The boxes that a still draws of each row, against those of the page: the same segments, to a fiftieth of a pixel. */
function holdBoxes(svg, rows, drawn, lane, where) {
    for (const [r, row] of rows.entries()) {
        const group = svg.split(`<g data-row="${row}">`)[1].split(/<g data-row=|<g class="fold">|<\/svg>\n$/)[0];
        const stills = [...group.matchAll(/data-segment="(\d+)" data-count="(\d+)"[^>]*>\s*<title>[^]*?<\/title>\s*<rect class="(\w+)" x="([\d.-]+)" y="[\d.]+" width="([\d.]+)"/g)]
            .map(([, segment, count, kind, x, width]) => {
                const inset = kind === 'gap' ? 1.5 : kind === 'dense' ? 0 : 0.5;
                return { segment: +segment, count: +count, left: +x - inset - 144, right: +x + +width + inset - 144 };
            });
        const onPage = [];
        for (let b = 0; b < drawn[r].length; b += 4) {
            const [left, right, segment, count] = drawn[r].slice(b, b + 4);
            if (Math.min(right, lane) > Math.max(left, 0))
                onPage.push({ segment, count, left: Math.max(left, 0), right: Math.min(right, lane) });
        }
        assert.equal(stills.length, onPage.length, `${where}, ${row}`);
        stills.forEach((still, i) => {
            assert.deepEqual([still.segment, still.count], [onPage[i].segment, onPage[i].count]);
            assert.ok(Math.abs(still.left - onPage[i].left) < 0.02, `left of ${i} in ${row}, ${where}`);
            assert.ok(onPage[i].right - onPage[i].left < 4 || Math.abs(still.right - onPage[i].right) < 0.02, `right of ${i} in ${row}, ${where}`);
        });
    }
}

/** At three zooms, of a document or of two versions: what `still` makes of a range, against the page. */
async function holdZooms(page, still, name) {
    const { lane, begin, end, rows } = await page.evaluate(() => {
        const { view } = globalThis.dmtreeView;
        const { begin, end, rows } = view.composition;
        return { lane: view.lane, begin, end, rows: rows.map((row) => row.name) };
    });
    for (const part of [1, 8, 60]) {
        const start = begin + (end - begin) * (part === 1 ? 0 : 0.31);
        const [from, to, drawn] = await page.evaluate(([start, out]) => {
            const { show, boxes, view } = globalThis.dmtreeView;
            const axis = view.composition.axisOf(undefined);
            const from = Math.max(Math.floor(axis.recordAt(start)), 0);
            const to = Math.max(Math.ceil(axis.recordAt(out)), from + 1);
            show(axis.placeOfIn(from), axis.placeOfOut(to));
            return [from, to, view.composition.rows.map((_, row) => boxes(row))];
        }, [start, start + (end - begin) / part]);
        const svg = still('--svg', '--width', String(lane + 132 + 24), '--range', `${from}-${to}`, '-o', '-');
        holdBoxes(svg, rows, drawn, lane, `${name}, ${from} to ${to}`);
    }
}

/** The commercial with so many shots on its picture track, of all lengths, with gaps and overlaps among them. */
function long(count) {
    return changed('commercial-25.json', (set) => {
        const shot = set.children?.find((child) => 'DmSourceNode' in child)?.DmSourceNode;
        if (!shot || set.children.length < 10)
            return;
        let at = 0;
        set.children = Array.from({ length: count }, (_, i) => {
            const recLength = 1 + i * i % 37 + (i % 211 === 0 ? 3000 : 0);
            const recIn = at - (i % 97 === 5 ? 3 : 0) + (i % 301 === 7 ? 40 : 0);
            at = recIn + recLength;
            return i % 151 === 3 ? { DmGapNode: { classId: 5, recIn, recLength } } : { DmSourceNode: { ...shot, recIn, recLength } };
        });
    });
}

test('each example opens, and is drawn box for box as the still is, at three zooms', async () => {
    for (const document of [...readdirSync(examples).map((name) => join(examples, name)), long(3000)]) {
        const { page, trouble } = await open(browser, pageOf(document));
        await holdZooms(page, (...options) => dmtree('view', ...options, document), document);
        assert.deepEqual(trouble, [], document);
        await page.close();
    }
});

test('segments stand where the document says, to the pixel', async () => {
    const document = join(examples, 'feature-23.976.json');
    const { page } = await open(browser, pageOf(document));
    const model = [];
    const root = JSON.parse(readFileSync(document, 'utf8'));
    (function walk(value) {
        if (value && typeof value === 'object') {
            for (const [key, set] of Object.entries(value))
                if (key !== 'composition') // what containers hold is another picture
                    walk(set);
            if ('recLength' in value && 'srcInput' in value && 'segmentId' in value)
                model.push({ name: value.name, in: value.recIn ?? 0, length: value.recLength });
        }
    })(root);
    assert.ok(model.length >= 5);
    for (const [round, zoom] of [2, 12, 50].entries())
        for (let k = 0; k < 20; ++k) {
            const segment = model[(k * 7919 + round * 31) % model.length];
            const distance = await page.evaluate(([segment, zoom]) => {
                const { view, show } = globalThis.dmtreeView;
                const { composition } = view;
                const i = Array.from(composition.start).findIndex((start, i) => start === segment.in && composition.nameOf(i) === segment.name);
                if (i < 0)
                    return NaN;
                const span = (composition.end - composition.begin) / zoom;
                const from = segment.in - span * 0.4;
                view.playhead = composition.begin - 1e6;
                show(from, from + span);
                const expected = view.sizes.header + 0.4 * view.lane;
                const row = composition.rows[composition.rowOf[i]];
                const context = document.getElementById('stage').getContext('2d');
                const y = Math.round(view.top + row.top - view.scroll + row.height * 0.5);
                const [fill, , edge] = view.scene.look.tints[composition.tint[i]].map((colour) => colour.match(/\w\w/g).map((hex) => parseInt(hex, 16)));
                const { data } = context.getImageData(Math.floor(expected) - 6, y, 13, 1);
                // An edge between two pixels is a mixture: the one that is most of it, if it is more edge than fill.
                const apart = (x, colour) => Math.hypot(...[0, 1, 2].map((c) => data[4 * x + c] - colour[c]));
                let best = Infinity;
                for (let x = 0; x < 13; ++x)
                    if (apart(x, edge) < apart(x, fill))
                        best = Math.min(best, Math.abs(Math.floor(expected) - 6 + x - expected));
                return best;
            }, [segment, zoom]);
            assert.ok(distance <= 1.01, `${segment.name} at zoom ${zoom}: ${distance}`);
        }
    await page.close();
});

test('keys, search, pointer and playhead do what they say', async () => {
    const { page, trouble } = await open(browser, pageOf(commercial));
    const state = () => page.evaluate(() => {
        const { view } = globalThis.dmtreeView;
        const { in: from, out: to } = view.span();
        return { selected: view.selected < 0 ? '' : view.composition.nameOf(view.selected), playhead: view.playhead, from, to };
    });
    const text = (id) => page.locator(`#${id}`).innerText();
    await page.locator('#stage').focus();
    await page.keyboard.press('ArrowRight');
    assert.equal((await state()).selected, 'orchard dawn');
    await page.keyboard.press('ArrowRight');
    assert.equal((await state()).selected, 'hands picking');
    assert.match(await text('chosen'), /10:00:04:00/);
    assert.match(await text('chosen'), /Colour|gain/i);
    await page.keyboard.press('ArrowDown');
    assert.equal((await state()).selected, 'mx lemon v3');
    await page.keyboard.press('Escape');
    assert.equal((await state()).selected, '');

    // What plays: a shot with its source label, and both sides of a dissolve.
    await page.locator('#time').fill('10:00:01:00');
    await page.keyboard.press('Enter');
    assert.equal((await state()).playhead, 25);
    assert.match(await text('plays'), /orchard dawn\s+A001C002 . 10:00:10:00/);
    await page.locator('#time').fill('10:00:03:18');
    await page.keyboard.press('Enter');
    assert.match(await text('plays'), /orchard dawn[^]*to hands picking/);

    const before = await state();
    await page.locator('#stage').focus();
    await page.keyboard.press('+');
    assert.ok((await state()).to - (await state()).from < before.to - before.from);
    await page.keyboard.press('f');
    const all = await state();
    assert.ok(Math.abs(all.from) < 1e-6 && Math.abs(all.to - 750) < 1e-6);
    await page.mouse.move(600, 300);
    await page.mouse.wheel(0, -240);
    await page.waitForTimeout(100);
    const wheeled = await state();
    assert.ok(wheeled.to - wheeled.from < 740);
    await page.mouse.down();
    await page.mouse.move(500, 300, { steps: 4 });
    await page.mouse.up();
    assert.ok((await state()).from > wheeled.from);
    await page.locator('#fit').click();

    // The segment under the pointer.
    const box = await page.locator('#stage').boundingBox();
    const point = await page.evaluate(() => {
        const { view } = globalThis.dmtreeView;
        const i = [...Array(view.composition.count).keys()].find((one) => view.composition.nameOf(one) === 'toast');
        return [view.x(view.composition.start[i] + view.composition.length[i] / 2), view.top + 20];
    });
    await page.mouse.move(box.x + point[0], box.y + point[1]);
    assert.match(await text('status'), /toast/);
    await page.mouse.click(box.x + point[0], box.y + point[1]);
    assert.equal((await state()).selected, 'toast');

    assert.match(await page.locator('#stage').getAttribute('title'), /toast[^]*A003C006[^]*srcInput/);

    // Transitions and marks, by key, and by pointer.
    await page.keyboard.press('Escape');
    await page.keyboard.press('f');
    await page.locator('#time').fill('10:00:00:00');
    await page.keyboard.press('Enter');
    await page.locator('#stage').focus();
    await page.keyboard.press('t');
    await page.keyboard.press('t');
    await page.keyboard.press('Shift+T');
    assert.match(await text('chosen'), /VDissolve[^]*10:00:03:13[^]*From\s+orchard dawn\s+To\s+hands picking[^]*FOCUS_CENTER/);
    await page.keyboard.press('m');
    assert.match(await text('status'), /10:00:14:\d\d\s+voice/);
    const [slope, mark] = await page.evaluate(() => {
        const { view } = globalThis.dmtreeView;
        const { transitions, marks } = view.composition;
        return [[view.x(transitions[2].in + 5), view.top + 20], [view.x(marks[1].time) + 3, view.sizes.ruler + 6]];
    });
    await page.mouse.click(box.x + slope[0], box.y + slope[1]);
    assert.match(await text('status'), /transition .* to /);
    await page.mouse.click(box.x + mark[0], box.y + mark[1]);
    assert.match(await text('status'), /logo/);
    assert.match(await text('plays'), /pack shot/);

    for (const [words, found] of [['A001C005', 'hands picking'], ['PACK', 'pack shot'], ['\u00e9t\u00e9', 'terrace \u00e9t\u00e9']]) {
        await page.locator('#search').fill(words);
        assert.equal(await text('found'), '1 found');
        await page.locator('#next').click();
        assert.equal((await state()).selected, found);
    }
    await page.locator('#search').fill('no such shot');
    assert.equal(await text('found'), '0 found');
    await page.locator('#search').fill('');

    // For a screen reader: the selection's row, of so many.
    const rows = await page.locator('#listing table').getAttribute('aria-rowcount');
    assert.equal(Number(rows), 13 + 1);
    assert.match(await page.locator('#listing tr[aria-current]').innerText(), /terrace/);
    assert.deepEqual(trouble, []);
    await page.close();
});

async function faultsOf(page) {
    await page.evaluate(readFileSync(createRequire(import.meta.url).resolve('axe-core/axe.min.js'), 'utf8'));
    const { violations } = await page.evaluate(() => globalThis.axe.run());
    return violations.map((one) => `${one.id}: ${one.nodes.map((node) => node.html).join(' ')}`);
}

test('nothing that axe-core knows is wrong, in light and dark', async () => {
    for (const colorScheme of ['light', 'dark']) {
        const { page } = await open(browser, pageOf(join(examples, 'commercial-with-mistakes.json'), '--findings'), { colorScheme, bypassCSP: true });
        await page.evaluate(() => globalThis.dmtreeView.choose(0));
        assert.deepEqual(await faultsOf(page), []);
        await page.close();
    }
});

test('findings are gone through in order, each at its place, in the words of the checks', async () => {
    const document = join(examples, 'commercial-with-mistakes.json');
    const said = tried('check', '--no-config', document).stdout.split('\n').filter((line) => /\[DM\d+\]$/.test(line));
    assert.ok(said.length >= 2);
    const { page, trouble } = await open(browser, pageOf(document, '--findings'));
    const words = () => page.locator('#fault').innerText();
    assert.equal(await words(), `${said.length} findings`);
    const heard = [];
    for (let k = 1; k <= said.length; ++k) {
        await page.locator('#faultNext').click();
        const text = await words();
        assert.ok(text.startsWith(`${k} of ${said.length}: `), text);
        heard.push(text.replace(/^\d+ of \d+: /, ''));
        const at = await page.evaluate(() => {
            const { view } = globalThis.dmtreeView;
            const { time, row, segment } = view.composition.remarks[view.remark];
            return { time, playhead: view.playhead, selected: view.selected, segment, row };
        });
        assert.equal(at.time, at.playhead);
        assert.equal(at.segment, at.selected);
        assert.equal(await page.locator('#remarks [aria-current]').count(), 1);
    }
    const plain = (text) => text.replace(/[\u2068\u2069]/g, '');
    assert.deepEqual(heard.map(plain).sort(), said.map((line) => line.replace(/^[^:]*: (?:error: |warning: |note: )?/, '')).sort());
    assert.ok(heard.some((text) => /crate drop/.test(text)));
    await page.locator('#faultNext').click();
    assert.match(await words(), new RegExp(`^1 of ${said.length}: `));
    await page.locator('#stage').focus();
    await page.keyboard.press('Shift+N');
    assert.match(await words(), new RegExp(`^${said.length} of ${said.length}: `));

    // A sign tells what it is for, and a click on it or on its words goes there.
    const sign = await page.evaluate(() => globalThis.dmtreeView.sign(0));
    const box = await page.locator('#stage').boundingBox();
    await page.mouse.move(box.x + sign[0], box.y + sign[1] - 3);
    assert.equal(plain(await page.locator('#status').innerText()), plain(heard[0]));
    await page.mouse.click(box.x + sign[0], box.y + sign[1] - 3);
    assert.match(await words(), /^1 of /);
    await page.locator('#remarks button').last().click();
    assert.match(await words(), new RegExp(`^${said.length} of `));
    assert.deepEqual(trouble, []);
    await page.close();
});

test('two versions of a cut stand one over the other, and each change is gone to', async () => {
    const [before, after] = ['reel1.edl', 'reel1-v2.edl'].map((name) => join(top, 'examples/lists', name));
    const options = ['diff', '--exit-zero', '--fcm', '25 fps', before, after];
    const path = file('', 'html');
    dmtree(...options, '-o', path);
    const { page, trouble } = await open(browser, path, { bypassCSP: true });
    const told = JSON.parse(dmtree(...options, '--json')).changes.filter((change) => change.kind !== 'shifted');
    assert.ok(told.length > 2);
    assert.equal(await page.locator('#remarks button').count(), told.length);
    assert.equal(await page.locator('#remarksHead').innerText(), 'CHANGES');
    await holdZooms(page, (...more) => dmtree(...options, ...more), 'two versions');
    assert.deepEqual(await faultsOf(page), []);
    await page.locator('#fit').click();

    const heard = [];
    await page.locator('#stage').focus();
    for (let k = 0; k < told.length; ++k) {
        await page.keyboard.press('n');
        heard.push((await page.locator('#fault').innerText()).replace(/^\d+ of \d+: /, ''));
        const at = await page.evaluate(() => {
            const { view } = globalThis.dmtreeView;
            const { composition, remark, selected } = view;
            const shown = selected < 0 ? null : composition.nameOf(selected);
            return { shown, tint: composition.remarks[remark].tint, ofShot: selected < 0 ? -1 : composition.tint[selected] };
        });
        if (at.shown !== null)
            assert.ok(heard.at(-1).includes(at.shown), `${heard.at(-1)} is said of ${at.shown}`);
    }
    for (const change of told)
        assert.ok(heard.some((text) => text.includes(change.track ?? '')), JSON.stringify(change));
    // The same shot in both versions is known as such; what plays is told of each version.
    const pairs = await page.evaluate(() => {
        const { composition } = globalThis.dmtreeView.view;
        return [...Array(composition.count).keys()].filter((i) => composition.counterpart(i) >= 0)
            .map((i) => [i, composition.counterpart(composition.counterpart(i)), composition.row(i).version, composition.row(composition.counterpart(i)).version]);
    });
    assert.ok(pairs.length > 4);
    for (const [i, back, version, other] of pairs) {
        assert.equal(back, i);
        assert.equal(version + other, 3);
    }
    assert.match(await page.locator('#plays').innerText(), /V1 old[^]*V1 new/);
    assert.deepEqual(trouble, []);
    await page.close();
});

test('versions of other rates stand where the still has them', async () => {
    for (const rates of [['25 fps', '23.976 fps'], ['29.97 fps DF', '50 fps']]) {
        const [before, after] = rates.map((rate, k) => changed('commercial-25.json', (set) => {
            if ('fcm' in set)
                set.fcm = rate;
            if (k === 1 && set.name === 'toast' && 'recLength' in set)
                set.recLength -= 10;
        }));
        const path = file('', 'html');
        tried('diff', before, after, '-o', path);
        const { page, trouble } = await open(browser, path);
        await holdZooms(page, (...options) => dmtree('diff', '--exit-zero', before, after, ...options), rates.join(' to '));
        assert.deepEqual(trouble, []);
        await page.close();
    }
});

test('two fingers zoom', async () => {
    const { page } = await open(browser, pageOf(commercial), { hasTouch: true });
    const length = () => page.evaluate(() => globalThis.dmtreeView.view.span().out - globalThis.dmtreeView.view.span().in);
    const before = await length();
    const screen = await page.context().newCDPSession(page);
    const touch = (type, ...xs) => screen.send('Input.dispatchTouchEvent', { type, touchPoints: xs.map((x, id) => ({ x, y: 300, id })) });
    await touch('touchStart', 460, 540);
    for (const apart of [60, 90, 120])
        await touch('touchMove', 500 - apart, 500 + apart);
    await touch('touchEnd');
    assert.ok(Math.abs(await length() - before / 3) < 1);
    await page.close();
});

test('what is unchanged is folded, and unfolds', async () => {
    const shots = (names) => 'TITLE: Long\n' + names.map((name, i) => {
        const label = (seconds) => `10:${String(Math.floor(seconds / 60)).padStart(2, '0')}:${String(seconds % 60).padStart(2, '0')}:00`;
        return `${String(i + 1).padStart(3, '0')}  T${name} V C 01:00:00:00 01:00:02:00 ${label(2 * i)} ${label(2 * i + 2)}\n* FROM CLIP NAME: SHOT ${name}\n`;
    }).join('');
    const names = [...Array(90).keys()].map(String);
    const path = file('', 'html');
    tried('diff', '--fcm', '25', file(shots(names), 'edl'), file(shots(names.filter((name) => name !== '40')), 'edl'), '-o', path);
    const { page, trouble } = await open(browser, path);
    const all = () => page.evaluate(() => {
        const { composition } = globalThis.dmtreeView.view;
        return { folds: composition.folds.length, length: composition.end - composition.begin };
    });
    const folded = await all();
    assert.equal(folded.folds, 2);
    assert.ok(folded.length < 60 * 25);
    await page.locator('#stage').focus();
    await page.keyboard.press('u');
    assert.deepEqual(await all(), { folds: 0, length: 180 * 25 });
    assert.equal(await page.locator('#unfold').getAttribute('aria-pressed'), 'true');
    await page.keyboard.press('u');
    assert.deepEqual(await all(), folded);
    // A label that lies in the new version is gone to, wherever it is drawn.
    await page.locator('#time').fill('10:02:01:00');
    await page.keyboard.press('Enter');
    assert.match(await page.locator('#plays').innerText(), /SHOT 61[^]*SHOT 61/);
    assert.deepEqual(trouble, []);
    await page.close();
});

test('names are data, whatever they are', async () => {
    const names = ['</script><img src=x onerror=alert(1)>', '\u05e9\u05dc\u05d5\u05dd \u202eabc', 'x'.repeat(10000),
        'line\u0007\u001b[31mred', '<!--<script>', '\'";alert(1)//', '\ud83c\udfac \u00e9t\u00e9', '\u2028\u2029'];
    let next = 0;
    const given = [];
    const document = changed('commercial-25.json', (set) => {
        if ('srcInput' in set && 'segmentId' in set && next < names.length) {
            given.push(set.name = names[next++]);
        }
    });
    const { page, trouble } = await open(browser, pageOf(document));
    for (const [i, name] of given.entries()) {
        await page.evaluate((name) => {
            const { view, choose } = globalThis.dmtreeView;
            choose([...Array(view.composition.count).keys()].find((one) => view.composition.nameOf(one) === name) ?? -1);
        }, name);
        assert.equal(await page.locator('#chosen dd').first().evaluate((node) => node.textContent), name, `name ${i}`);
    }
    assert.equal(await page.locator('img').count(), 0);
    assert.equal(await page.locator('[style]').count(), 0);
    assert.deepEqual(trouble, []);
    const still = dmtree('view', '--svg', '-o', '-', document);
    const parsed = await page.evaluate((svg) => {
        const made = new DOMParser().parseFromString(svg, 'image/svg+xml');
        return [made.querySelectorAll('parsererror').length, made.querySelectorAll('img, script').length];
    }, still);
    assert.deepEqual(parsed, [0, 0]);
    await page.close();
});

test('times that cannot be drawn make a picture and a note', async () => {
    const cases = {
        'unset': (set) => { set.recIn = 2147483647; },
        'huge': (set) => { set.recIn = 1e300; set.recLength = 1e300; },
        'negative': (set) => { set.recIn = (set.recIn ?? 0) - 500; },
        'backwards': (set) => { set.recLength = -5; },
        'without length': (set) => { set.recLength = 0; },
        'at once': (set) => { set.recIn = 10; },
        'no mode': (set) => { if ('fcm' in set) set.fcm = '???'; },
        'no elements': (set) => { if (Array.isArray(set.children) && 'layerNum' in set) set.children = []; },
        'no tracks': (set) => { if ('compLength' in set) set.children = []; },
        'no compositions': (set) => { if ('identification' in set) set.children = []; },
    };
    for (const [name, change] of Object.entries(cases)) {
        const inComposition = ['no mode', 'no elements', 'no tracks', 'no compositions'].includes(name);
        const document = changed('commercial-25.json', (set) => { if (inComposition || 'segmentId' in set) change(set); });
        const { page, trouble } = await open(browser, pageOf(document));
        assert.deepEqual(trouble, [], name);
        const said = await page.locator('#notes').innerText();
        assert.equal(said !== '', name !== 'no mode', `${name}: ${said}`);
        const finite = await page.evaluate(() => {
            if (!globalThis.dmtreeView)
                return true;
            const { begin, end, start, length } = globalThis.dmtreeView.view.composition;
            return [begin, end, ...start, ...length].every(Number.isFinite) && end > begin;
        });
        assert.ok(finite, name);
        await page.close();
    }
});

test('five hundred tracks scroll', async () => {
    const document = changed('commercial-25.json', (set) => {
        if ('compLength' in set) {
            const sound = set.children.at(-1);
            while (set.children.length < 500)
                set.children.push(sound);
        }
    });
    const { page, trouble } = await open(browser, pageOf(document));
    await page.mouse.move(60, 400);
    await page.mouse.wheel(0, 100000);
    await page.waitForTimeout(100);
    const { scroll, most } = await page.evaluate(() => ({ scroll: globalThis.dmtreeView.view.scroll, most: globalThis.dmtreeView.view.mostScroll }));
    assert.ok(scroll > 10000 && scroll === most);
    assert.deepEqual(trouble, []);
    await page.close();
});

test('the commercial looks as it did', async () => {
    const { page } = await open(browser, pageOf(commercial));
    const now = (await page.locator('#frame').screenshot()).toString('base64');
    const path = join(top, 'view/page/test/commercial.png');
    if (process.env.ZR_UPDATE_PICTURE) {
        const { writeFileSync } = await import('node:fs');
        writeFileSync(path, Buffer.from(now, 'base64'));
    }
    const different = await page.evaluate(async ([a, b]) => {
        const [one, other] = await Promise.all([a, b].map(async (data) => {
            const image = await createImageBitmap(new Blob([Uint8Array.from(atob(data), (c) => c.charCodeAt(0))]));
            const canvas = new OffscreenCanvas(image.width, image.height);
            const context = canvas.getContext('2d');
            context.drawImage(image, 0, 0);
            return context.getImageData(0, 0, image.width, image.height);
        }));
        if (one.width !== other.width || one.height !== other.height)
            return 1;
        let count = 0;
        for (let i = 0; i < one.data.length; i += 4)
            if ([0, 1, 2].some((c) => Math.abs(one.data[i + c] - other.data[i + c]) > 48))
                ++count;
        return count / (one.width * one.height);
    }, [readFileSync(path).toString('base64'), now]);
    assert.ok(different < 0.01, `${different * 100} % of the pixels differ`);
    await page.close();
});

test('the page allows itself and nothing else', () => {
    const html = readFileSync(pageOf(commercial), 'utf8');
    const policy = html.match(/Content-Security-Policy" content="([^"]*)"/)[1];
    assert.match(policy, /^default-src 'none'; base-uri 'none'; form-action 'none'; script-src 'sha256-[\w+/=]+'; style-src 'sha256-[\w+/=]+'$/);
    assert.doesNotMatch(html, /<[^>]+ style=|https?:\/\/(?!www\.w3\.org)/);
    void file;
});

test('a watched file is shown as it changes, to its own user alone', async () => {
    const { spawn } = await import('node:child_process');
    const { copyFileSync, writeFileSync } = await import('node:fs');
    const { request } = await import('node:http');
    const path = file('', 'json');
    copyFileSync(commercial, path);
    const server = spawn(command, ['view', '--watch', path]);
    try {
        const address = new URL(String(await new Promise((done) => server.stdout.once('data', done))).trim());
        assert.equal(address.hostname, '127.0.0.1');
        const status = (path, headers = {}) => new Promise((done, fail) =>
            request({ host: '127.0.0.1', port: address.port, path, headers }, (answer) => { answer.resume(); done(answer.statusCode); }).on('error', fail).end());
        assert.equal(await status(address.pathname), 200);
        assert.equal(await status('/'), 404);
        assert.equal(await status('/version'), 404);
        assert.equal(await status(address.pathname, { host: 'elsewhere.example' }), 421);

        const page = await browser.newPage();
        await page.goto(address.href);
        const title = page.locator('#name');
        assert.equal(await title.innerText(), 'Lemon soda 30"');
        await page.waitForTimeout(1000);
        const text = readFileSync(commercial, 'utf8');
        writeFileSync(path, text.slice(0, text.length / 2)); // half written
        await page.waitForFunction(() => document.getElementById('status').textContent.includes('line'));
        assert.equal(await title.innerText(), 'Lemon soda 30"');
        writeFileSync(path, text.replace('Lemon soda 30', 'Lime soda 30'));
        await page.waitForFunction(() => document.getElementById('name').textContent.startsWith('Lime'));
        await page.close();
    } finally {
        server.kill();
    }
});
