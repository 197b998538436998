/** Level of detail: what segments have in common in runs of 64, so that those too small to be told apart are passed over together. */

import { Gap, type Composition } from './scene';

export const run = 64;

export class Blocks {
    /** The longest segment of each run; a gap, which is drawn however short it is, counts as endless. */
    private readonly longest: Float64Array;
    /** The widest hole in front of one of them, in its row. */
    private readonly widest: Float64Array;
    private readonly latest: Float64Array;

    constructor(private readonly composition: Composition) {
        const { count, start, length, kind, rows } = composition;
        const runs = Math.ceil(count / run);
        this.longest = new Float64Array(runs);
        this.widest = new Float64Array(runs);
        this.latest = new Float64Array(runs).fill(-Infinity);
        for (const row of rows)
            for (let i = row.first, end = Infinity; i < row.last; ++i) {
                const at = Math.trunc(i / run);
                this.longest[at] = Math.max(this.longest[at], kind[i] === Gap ? Infinity : length[i]);
                this.widest[at] = Math.max(this.widest[at], start[i] - end);
                end = start[i] + length[i];
                this.latest[at] = Math.max(this.latest[at], end);
            }
    }

    /** Behind the last of the segments from i on that are all shorter than `length`, closer than `apart`, and begin before `out`: in whole runs. */
    passed(i: number, last: number, length: number, apart: number, out: number): number {
        let at = i;
        while (at % run === 0 && at + run <= last && this.composition.start[at + run - 1] < out
            && this.longest[at / run] < length && this.widest[at / run] < apart)
            at += run;
        return at;
    }

    /** When the last of them has ended. */
    latestOut(first: number, last: number): number {
        let latest = -Infinity;
        for (let at = first; at < last; at += run)
            latest = Math.max(latest, this.latest[at / run]);
        return latest;
    }
}
