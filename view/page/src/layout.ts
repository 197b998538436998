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

/** What of a row is seen: four numbers a box, left, right, first segment, count. */
export function boxesOf(composition: Composition, row: Row, span: Span, sizes: Sizes, to: number[]): number[] {
    const { kind } = composition;
    const axis = composition.axisOf(row);
    const scale = scaleOf(span);
    to.length = 0;
    let grows = false;
    for (let i = composition.firstReaching(row, axis.recordAt(span.in)); i < row.last; ++i) {
        const from = axis.placeOfIn(composition.start[i]);
        const out = Math.max(axis.placeOfOut(composition.out(i)), from);
        if (from >= span.out)
            break;
        if (out < span.in)
            continue;
        const left = (from - span.in) * scale;
        const right = (out - span.in) * scale;
        const small = right - left < sizes.smallBox && kind[i] !== Gap;
        const last = to.length - 4;
        if (small && grows && left - to[last + 1] < 1) {
            to[last + 1] = Math.max(to[last + 1], right, left + 1);
            ++to[last + 3];
            continue;
        }
        to.push(left, Math.max(right, left + 1), i, 1);
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
