/** From record time to pixels, by the rules that the library draws stills by. */

import { Composition, Gap, Row, Sizes } from './scene';
import { frameOf, Mode } from './timecode';

/** A stretch of record time over a width of pixels. */
export interface Span {
    in: number;
    out: number;
    width: number;
}

export const scaleOf = (span: Span): number => span.width / (span.out - span.in);

/** Four numbers a box: left, right, first segment, count. Its memory serves frame after frame. */
export class Boxes {
    at = new Float64Array(4096);
    size = 0;
    add(left: number, right: number, segment: number, count: number) {
        if (this.size + 4 > this.at.length) {
            const more = new Float64Array(this.at.length * 2);
            more.set(this.at);
            this.at = more;
        }
        this.at[this.size++] = left;
        this.at[this.size++] = right;
        this.at[this.size++] = segment;
        this.at[this.size++] = count;
    }
}

/** What of a row is seen. */
export function boxesOf(composition: Composition, row: Row, span: Span, sizes: Sizes, to: Boxes): Boxes {
    const { kind, start, blocks, isCompared } = composition;
    const axis = composition.axisOf(row);
    const scale = scaleOf(span);
    const nearly = 1 - 1e-9; // runs that are on the edge are looked at one by one
    to.size = 0;
    let grows = false;
    for (let i = composition.firstReaching(row, axis.recordAt(span.in)); i < row.last; ++i) {
        const last = to.size - 4;
        if (grows && !isCompared && start[i] >= span.in) {
            const behind = blocks.passed(i, row.last, sizes.smallBox / scale * nearly, nearly / scale, span.out);
            if (behind > i) {
                to.at[last + 1] = Math.max(to.at[last + 1], (blocks.latestOut(i, behind) - span.in) * scale, (start[behind - 1] - span.in) * scale + 1);
                to.at[last + 3] += behind - i;
                i = behind - 1;
                continue;
            }
        }
        const from = axis.placeOfIn(start[i]);
        const out = Math.max(axis.placeOfOut(composition.out(i)), from);
        if (from >= span.out)
            break;
        if (out < span.in)
            continue;
        const left = (from - span.in) * scale;
        const right = (out - span.in) * scale;
        const small = right - left < sizes.smallBox && kind[i] !== Gap;
        if (small && grows && left - to.at[last + 1] < 1) {
            to.at[last + 1] = Math.max(to.at[last + 1], right, left + 1);
            ++to.at[last + 3];
            continue;
        }
        to.add(left, Math.max(right, left + 1), i, 1);
        grows = small;
    }
    return to;
}

export interface Tick {
    time: number;
    hasLabel: boolean;
}

function tickStep(mode: Mode, least: number): number {
    const fps = mode.fps > 0 ? mode.fps : 25;
    for (const frames of [1, 2, 5, 10])
        if (frames >= least && frames < fps)
            return frames;
    for (const seconds of [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800])
        if (seconds * fps >= least)
            return seconds * fps;
    let hours = 1;
    while (hours * 3600 * fps < least)
        hours *= 2;
    return hours * 3600 * fps;
}

function ticksAt(mode: Mode, labelStart: number, span: Span, sizes: Sizes): Tick[] {
    const ticks: Tick[] = [];
    const step = tickStep(mode, sizes.tickApart / scaleOf(span));
    const parts = step < 5 ? step : 5;
    const fine = step / parts;
    for (let at = Math.ceil((span.in + labelStart) / fine); ; ++at) {
        const time = frameOf(mode, at * fine) - labelStart;
        if (time > span.out)
            return ticks;
        if (time >= span.in)
            ticks.push({ time, hasLabel: at % parts === 0 });
    }
}

/** The ruler, at places: of two versions it is the new one's. */
export function ticksOf(composition: Composition, span: Span, sizes: Sizes): Tick[] {
    const { mode, labelStart, folds } = composition;
    if (!composition.isCompared)
        return ticksAt(mode, labelStart, span, sizes);
    // Each straight piece of the axis has labels of its own; holes and folds have none.
    const axis = composition.axisOf(undefined);
    const bends = [span.in, ...axis.place.filter((place) => place > span.in && place < span.out), span.out];
    const ticks: Tick[] = [];
    let lastLabel = span.in - sizes.tickApart / scaleOf(span);
    for (let i = 0; i + 1 < bends.length; ++i) {
        const middle = (bends[i] + bends[i + 1]) / 2;
        const width = (bends[i + 1] - bends[i]) * scaleOf(span);
        if (width < 1 || axis.isHole(middle) || folds.some((fold) => middle > fold.in && middle < fold.out))
            continue;
        const from = axis.recordAt(bends[i]);
        const out = from + (axis.recordAt(middle) - from) * 2;
        for (const tick of ticksAt(mode, labelStart, { in: from, out, width }, sizes)) {
            const time = bends[i] + (tick.time - from) * (bends[i + 1] - bends[i]) / (out - from);
            const hasLabel = tick.hasLabel && time - lastLabel >= 0.8 * sizes.tickApart / scaleOf(span);
            if (hasLabel)
                lastLabel = time;
            ticks.push({ time, hasLabel });
        }
    }
    return ticks;
}
