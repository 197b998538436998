// How long a page takes to show its first picture, and its frames over a recorded pan and zoom, at 1280 x 720.
//
//     node frames.mjs PAGE.html
import { resolve } from 'node:path';
import { launch, open } from './browser.mjs';

const browser = await launch();
const { page, trouble } = await open(browser, resolve(process.argv[2]));
const first = await page.evaluate(() => performance.getEntriesByName('picture')[0].startTime);
const frames = await page.evaluate(async () => {
    const { view, show } = globalThis.dmtreeView;
    const { begin, end } = view.composition;
    const times = [];
    const steps = 240;
    let last = 0;
    await new Promise((done) => {
        let k = 0;
        const next = (now) => {
            if (last > 0)
                times.push(now - last);
            last = now;
            if (k === steps)
                return done();
            // In from all of it to a few shots, along them, and out again.
            const phase = k++ / steps;
            const zoom = phase < 0.4 ? phase / 0.4 : phase < 0.7 ? 1 : (1 - phase) / 0.3;
            const length = (end - begin) * Math.pow(1e-3, zoom);
            const from = begin + (end - begin - length) * (0.2 + 0.5 * phase);
            show(from, from + length);
            requestAnimationFrame(next);
        };
        requestAnimationFrame(next);
    });
    return times.sort((a, b) => a - b);
});
const at = (part) => frames[Math.floor(frames.length * part)].toFixed(1);
console.log(`first picture ${(first / 1000).toFixed(2)} s (limit 1); frames: median ${at(0.5)} ms (limit 20), 95th ${at(0.95)} ms (limit 40)`);
if (trouble.length > 0)
    console.log(trouble.join('\n'));
await browser.close();
