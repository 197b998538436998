/** Draws what is seen of a composition on a canvas: boxes by colour, so that a colour is set once. */

import { Boxes, boxesOf, ticksOf } from './layout';
import { flag, Gap, type Remark, type Row, type Transition } from './scene';
import { label } from './timecode';
import { View } from './view';

const noTint = 255;
const mostLetters = 400; // of a text in a box, where letters may have no width
const font = '"DejaVu Sans", system-ui, sans-serif';
export const nameFont = `600 12px ${font}`;
export const smallFont = `10.5px ${font}`;

/** Cuts texts to a width by that of their letters, each of which is measured once. */
export class Words {
    private readonly known = new Map<string, Map<string, number>>();
    private letters = new Map<string, number>();

    /** Texts are drawn, and measured, in this font from now on. */
    use(context: CanvasRenderingContext2D, font: string) {
        context.font = font;
        this.letters = this.known.get(font) ?? new Map<string, number>();
        this.known.set(font, this.letters);
    }

    fit(context: CanvasRenderingContext2D, text: string, width: number): string {
        if (width < 8)
            return '';
        let used = 0;
        let end = 0;
        let cut = 0; // what leaves room for the dots
        for (const letter of text) {
            used += this.widthOf(context, letter);
            if (used > width || end > mostLetters)
                return cut > 0 ? isolated(text.slice(0, cut).trimEnd()) + '\u2026' : '';
            end += letter.length;
            if (used <= width - 9)
                cut = end;
        }
        return isolated(text);
    }

    private widthOf(context: CanvasRenderingContext2D, letter: string): number {
        let width = this.letters.get(letter);
        if (width === undefined)
            this.letters.set(letter, width = context.measureText(letter).width);
        return width;
    }
}

/** Boxes of one frame by what they are painted with, as left, top, width and height; their memory serves the next one. */
export class Layers {
    readonly boxes = new Boxes();
    readonly solid: Boxes[];
    readonly faint: Boxes[];
    readonly dense = new Boxes();
    readonly gaps = new Boxes();
    readonly faults = new Boxes();
    /** Those that have room for a text: left, top, width and segment. */
    readonly texts = new Boxes();

    constructor(tints: number) {
        this.solid = Array.from({ length: tints }, () => new Boxes());
        this.faint = Array.from({ length: tints }, () => new Boxes());
    }
    clear() {
        for (const boxes of [...this.solid, ...this.faint, this.dense, this.gaps, this.faults, this.texts])
            boxes.size = 0;
    }
}

/** With its own direction, and every control character as one that is seen. */
export function isolated(text: string): string {
    const seen = text.replace(/[\u0000-\u001f\u007f]/g, '\ufffd');
    return /[^\u0000-\u007f]/.test(seen) ? `\u2068${seen}\u2069` : seen;
}

export function paint(context: CanvasRenderingContext2D, view: View, words: Words, layers: Layers) {
    const { composition, theme, sizes } = view;
    const span = view.span();
    context.fillStyle = theme.page;
    context.fillRect(0, 0, view.width, view.height);
    context.textBaseline = 'middle';
    context.textAlign = 'left';

    context.save();
    context.beginPath();
    context.rect(0, view.top - 2, view.width, view.height);
    context.clip();
    const seen = composition.rows.map((row, index) => ({ row, index, y: view.top + row.top - view.scroll }))
        .filter(({ row, y }) => y + row.height >= view.top - 2 && y <= view.height);
    context.fillStyle = theme.lane;
    for (const { row, y } of seen)
        context.fillRect(sizes.header, y, view.lane, row.height);

    const ticks = ticksOf(composition, span, sizes);
    context.strokeStyle = theme.line;
    context.globalAlpha = 0.55;
    context.beginPath();
    for (const tick of ticks)
        if (tick.hasLabel) {
            const x = Math.round(view.x(tick.time)) + 0.5;
            context.moveTo(x, view.top);
            context.lineTo(x, view.height);
        }
    context.stroke();
    context.globalAlpha = 1;

    context.save();
    context.beginPath();
    context.rect(sizes.header, 0, view.lane, view.height);
    context.clip();
    paintBoxes(context, view, words, layers, seen);
    paintTransitions(context, view, seen);
    paintChosen(context, view);
    paintFolds(context, view);
    paintRemarks(context, view);
    context.restore();

    for (const { row, y } of seen) {
        context.fillStyle = theme.page;
        context.fillRect(0, y - sizes.rowGap, sizes.header, row.height + 2 * sizes.rowGap);
        context.fillStyle = theme.panel;
        context.beginPath();
        context.roundRect(8, y, sizes.header - 14, row.height, sizes.radius);
        context.fill();
        context.fillStyle = theme.text;
        words.use(context, nameFont);
        context.fillText(words.fit(context, row.name, sizes.header - 30), 18, y + row.height / 2 - (row.detail ? 7 : 0));
        context.fillStyle = theme.dim;
        words.use(context, smallFont);
        context.fillText(words.fit(context, row.detail, sizes.header - 30), 18, y + row.height / 2 + 9);
    }
    context.restore();
    paintRuler(context, view, words, ticks);
    paintPlayhead(context, view);
}

type Seen = { row: Row; index: number; y: number }[];

function paintBoxes(context: CanvasRenderingContext2D, view: View, words: Words, layers: Layers, seen: Seen) {
    const { composition, theme, sizes, scene, matches } = view;
    const span = view.span();
    const { boxes, solid, faint, dense, gaps, faults, texts } = layers;
    layers.clear();
    for (const { row, y } of seen) {
        boxesOf(composition, row, span, sizes, boxes);
        for (let b = 0; b < boxes.size; b += 4) {
            const from = Math.max(sizes.header + boxes.at[b], sizes.header - 8);
            const width = Math.min(sizes.header + boxes.at[b + 1], view.width + 8) - from;
            const i = boxes.at[b + 2];
            if (width <= 0)
                continue;
            if (boxes.at[b + 3] > 1)
                dense.add(from, y, width, row.height);
            else if (composition.kind[i] === Gap)
                gaps.add(from + 1.5, y + 1.5, Math.max(width - 3, 0.5), row.height - 3);
            else {
                const isFaint = composition.has(i, flag.muted) || (matches !== null && matches[i] === 0);
                (isFaint ? faint : solid)[composition.tint[i]].add(from + 0.5, y + 0.5, Math.max(width - 1, 0.5), row.height - 1);
                if (width >= sizes.labelFrom)
                    texts.add(from, y, width, i);
            }
            if (composition.has(i, flag.overlaps | flag.noTime))
                faults.add(from + 1, y + 1, Math.max(width - 2, 0.5), row.height - 2);
        }
    }
    const side = view.isDark ? 1 : 0;
    context.lineWidth = 1;
    for (const [all, alpha] of [[solid, 1], [faint, 0.38]] as const) {
        context.globalAlpha = alpha;
        all.forEach((one, tint) => {
            const [light, dark, edge] = scene.look.tints[tint];
            fillBoxes(context, one, sizes.radius, side === 0 ? light : dark, edge);
        });
    }
    context.globalAlpha = 1;
    context.fillStyle = theme.dense;
    for (let b = 0; b < dense.size; b += 4)
        context.fillRect(dense.at[b], dense.at[b + 1], dense.at[b + 2], dense.at[b + 3]);
    context.strokeStyle = theme.gap;
    context.setLineDash([3, 4]);
    strokeBoxes(context, gaps);
    context.strokeStyle = theme.fault;
    context.setLineDash([5, 3]);
    context.lineWidth = 2;
    strokeBoxes(context, faults);
    context.setLineDash([]);
    context.lineWidth = 1;
    paintTexts(context, view, words, texts);
}

/** With round corners those that are wide enough. */
function fillBoxes(context: CanvasRenderingContext2D, { at, size }: Boxes, radius: number, fill: string, edge: string) {
    if (size === 0)
        return;
    context.fillStyle = fill;
    context.strokeStyle = edge;
    for (let b = 0; b < size; b += 4) {
        const [x, y, width, height] = [at[b], at[b + 1], at[b + 2], at[b + 3]];
        if (width < 7) {
            context.fillRect(x, y, width, height);
            context.strokeRect(x, y, width, height);
        } else {
            context.beginPath();
            context.roundRect(x, y, width, height, radius);
            context.fill();
            context.stroke();
        }
    }
}

function strokeBoxes(context: CanvasRenderingContext2D, { at, size }: Boxes) {
    for (let b = 0; b < size; b += 4)
        context.strokeRect(at[b], at[b + 1], at[b + 2], at[b + 3]);
}

/** What an editor wants to see at once: "50 %", "freeze", "fx". */
export function badgeOf(view: View, i: number): string {
    const { composition } = view;
    const percent = composition.percent(i);
    let badge = '';
    if (composition.has(i, flag.keyed))
        badge = 'speed curve';
    else if (percent === 0 && composition.kind[i] === 0)
        badge = 'freeze';
    else if (percent !== undefined && composition.kind[i] !== 1 && Math.abs(percent - 100) > 0.05)
        badge = `${Number(percent.toPrecision(4))} %`;
    return composition.has(i, flag.effects) ? (badge === '' ? 'fx' : `${badge}  fx`) : badge;
}

/** "A001C002 · 10:00:41:22": the reel, and the label of the first frame that plays. */
export function sourceLine(view: View, i: number): string {
    const { composition } = view;
    const reel = composition.reelOf(i);
    const source = composition.kind[i] === 1 ? undefined : composition.sourceFrame(i, composition.start[i]);
    return [reel, source ? label(source.mode, source.frame) : ''].filter((part) => part !== '').join(' \u00b7 ');
}

function paintTexts(context: CanvasRenderingContext2D, view: View, words: Words, { at, size }: Boxes) {
    const { composition, theme, sizes } = view;
    const rowAt = (b: number) => composition.row(at[b + 3]);
    const badges: [string, number, number][] = [];
    words.use(context, nameFont);
    context.fillStyle = theme.text;
    for (let b = 0; b < size; b += 4) {
        const [x, width, i] = [at[b], at[b + 2], at[b + 3]];
        const y = at[b + 1] + rowAt(b).height / 2;
        const badge = width < 90 ? '' : badgeOf(view, i);
        const taken = badge === '' ? 0 : 8 + 6.6 * badge.length;
        if (badge !== '')
            badges.push([badge, x + width - 6, y - 8]);
        const from = Math.max(x, sizes.header);
        context.fillText(words.fit(context, composition.nameOf(i), x + width - from - 12 - taken), from + 7, y - 8);
    }
    words.use(context, smallFont);
    context.fillStyle = theme.dim;
    for (let b = 0; b < size; b += 4) {
        const [x, width] = [at[b], at[b + 2]];
        const from = Math.max(x, sizes.header);
        if (width >= 56)
            context.fillText(words.fit(context, sourceLine(view, at[b + 3]), x + width - from - 12), from + 7, at[b + 1] + rowAt(b).height / 2 + 9);
    }
    context.textAlign = 'right';
    for (const [badge, x, y] of badges)
        context.fillText(badge, x, y);
    context.textAlign = 'left';
    for (let b = 0; b < size; b += 4) {
        const [x, y, width, i] = [at[b], at[b + 1], at[b + 2], at[b + 3]];
        if (view.showCurves && composition.has(i, flag.effects))
            paintCurves(context, view, x, y, width, rowAt(b).height, i);
        if (composition.has(i, flag.marks))
            paintSegmentMarks(context, view, x, y, width, i);
    }
}

function paintSegmentMarks(context: CanvasRenderingContext2D, view: View, left: number, y: number, width: number, i: number) {
    const { composition } = view;
    const axis = composition.axisOf(composition.row(i));
    context.fillStyle = view.theme.trxLine;
    for (const { time } of composition.marksOf(i)) {
        const x = view.x(axis.placeOfIn(time));
        if (x < left || x > left + width)
            continue;
        context.beginPath();
        context.moveTo(x - 4, y);
        context.lineTo(x + 4, y);
        context.lineTo(x, y + 6);
        context.fill();
    }
}

/** The curve of a channel in a box: through its keys in straight lines, which is as much as the library knows. */
export function drawCurve(context: CanvasRenderingContext2D, keys: [number, number][], x: (frame: number) => number, top: number, height: number) {
    const values = keys.map(([, value]) => value);
    const least = Math.min(...values);
    const range = Math.max(...values) - least;
    const y = (value: number) => top + height - 4 - (range > 0 ? (value - least) / range : 0.5) * (height - 8);
    context.beginPath();
    keys.forEach(([frame, value], k) => k === 0 ? context.moveTo(x(frame), y(value)) : context.lineTo(x(frame), y(value)));
    context.stroke();
    for (const [frame, value] of keys)
        context.fillRect(x(frame) - 2, y(value) - 2, 4, 4);
}

function paintCurves(context: CanvasRenderingContext2D, view: View, x: number, y: number, width: number, height: number, i: number) {
    const { composition, scene } = view;
    const axis = composition.axisOf(composition.row(i));
    context.save();
    context.beginPath();
    context.rect(x, y, width, height);
    context.clip();
    context.strokeStyle = context.fillStyle = scene.look.tints[composition.tint[i]][2];
    for (const effect of composition.effectsOf(i))
        for (const curve of effect.curves)
            drawCurve(context, curve.keys, (frame) => view.x(axis.placeOfIn(composition.start[i] + frame)), y, height);
    context.restore();
}

function paintChosen(context: CanvasRenderingContext2D, view: View) {
    const { composition, theme } = view;
    const accent = view.isDark ? '#7fb0ff' : '#1d5fc4';
    const outline = (i: number, width: number, colour: string) =>
        around(composition.row(i), composition.placeOfIn(i), composition.placeOfOut(i), width, colour);
    const around = (row: Row, place: number, end: number, width: number, colour: string) => {
        const from = view.x(place);
        const to = Math.max(view.x(end), from + 1);
        context.strokeStyle = colour;
        context.lineWidth = width;
        context.beginPath();
        context.roundRect(Math.max(from, -20) + 1, view.top + row.top - view.scroll + 1,
            Math.max(Math.min(to, view.width + 20) - Math.max(from, -20) - 2, 2), row.height - 2, view.sizes.radius);
        context.stroke();
        context.lineWidth = 1;
    };
    if (view.hovered >= 0 && view.hovered !== view.selected)
        outline(view.hovered, 1.5, theme.dim);
    const other = view.selected < 0 ? -1 : composition.counterpart(view.selected);
    if (other >= 0)
        outline(other, 1.5, accent);
    if (view.selected >= 0)
        outline(view.selected, 2.5, accent);
    const transition = composition.transitions[view.transition];
    if (transition) {
        const row = composition.rows[transition.row];
        const axis = composition.axisOf(row);
        around(row, axis.placeOfIn(transition.in), axis.placeOfOut(transition.in + transition.length), 2.5, accent);
    }
}

function paintTransitions(context: CanvasRenderingContext2D, view: View, seen: Seen) {
    const { composition } = view;
    const span = view.span();
    for (const { row, y } of seen) {
        const axis = composition.axisOf(row);
        let drawn = -Infinity; // up to here, of those too narrow to be told apart
        for (let t = composition.firstTransitionReaching(row, axis.recordAt(span.in)); t < row.lastTransition; ++t) {
            const transition = composition.transitions[t];
            const from = view.x(axis.placeOfIn(transition.in));
            const to = Math.max(view.x(axis.placeOfOut(transition.in + transition.length)), from + 1);
            if (from > view.width)
                break;
            if (to - from >= 3)
                paintTransition(context, view, row, y, transition, from, to);
            else if (to >= drawn + 1) {
                context.fillStyle = transition.tint === noTint ? view.theme.dense : view.scene.look.tints[transition.tint][2];
                context.fillRect(from, y, to - from, row.height);
                drawn = to;
            }
        }
    }
}

function paintTransition(context: CanvasRenderingContext2D, view: View, row: Row, y: number, transition: Transition, from: number, to: number) {
    const { composition, theme, scene } = view;
    const bottom = y + row.height;
    const tint = (i: number) => i >= 0 ? scene.look.tints[composition.tint[i]][view.isDark ? 1 : 0] : theme.lane;
    const [front, behind] = composition.beside(transition).map(tint);
    const shape = (colour: string, ...points: [number, number][]) => {
        context.beginPath();
        for (const [x, at] of points)
            context.lineTo(x, at);
        context.fillStyle = colour;
        context.fill();
    };
    const isWipe = transition.shape === 1;
    const middle = (from + to) / 2;
    context.globalAlpha = transition.muted ? 0.38 : 1;
    if (isWipe) {
        shape(front, [from, y], [middle, y], [middle, bottom], [from, bottom]);
        shape(behind, [middle, y], [to, y], [to, bottom], [middle, bottom]);
    } else {
        shape(front, [from, y], [from, bottom], [to, bottom]);
        shape(transition.shape === 2 ? theme.trxLine : behind, [from, y], [to, y], [to, bottom]);
    }
    context.strokeStyle = theme.trxLine;
    context.beginPath();
    context.moveTo(isWipe ? middle : from, y);
    context.lineTo(isWipe ? middle : to, bottom);
    context.stroke();
    context.globalAlpha = 1;
    if (transition.tint !== noTint) {
        context.strokeStyle = scene.look.tints[transition.tint][2];
        context.lineWidth = 2.5;
        context.strokeRect(from, y, to - from, row.height);
        context.lineWidth = 1;
    }
}

/** Stretches that nothing is said of, over all rows, with torn edges. */
function paintFolds(context: CanvasRenderingContext2D, view: View) {
    const { composition, theme } = view;
    const bottom = Math.min(view.top + composition.height - view.scroll, view.height);
    for (const fold of composition.folds) {
        const from = view.x(fold.in);
        const to = view.x(fold.out);
        if (to < view.sizes.header || from > view.width || to - from < 1)
            continue;
        const tooth = Math.min(4, (to - from) / 4);
        const teeth = Math.max(Math.trunc((bottom - view.top) / 8), 1);
        const y = (at: number) => view.top + (bottom - view.top) * at / teeth;
        context.beginPath();
        for (let i = 0; i <= teeth; ++i)
            context.lineTo(from + (i % 2 === 0 ? 0 : tooth), y(i));
        for (let i = teeth; i >= 0; --i)
            context.lineTo(to - (i % 2 === 0 ? 0 : tooth), y(i));
        context.closePath();
        context.fillStyle = theme.panel;
        context.strokeStyle = theme.gap;
        context.fill();
        context.stroke();
    }
}

/** Where the sign of a remark stands: the middle of its foot. */
export function signOf(view: View, remark: Remark): [x: number, y: number] {
    const row = view.composition.rows[remark.row];
    return [view.x(view.composition.axisOf(row).placeOfIn(remark.time)), row ? view.top + row.top - view.scroll + row.height : view.top + 10];
}

function paintRemarks(context: CanvasRenderingContext2D, view: View) {
    const { composition, scene, theme } = view;
    const { remarkPlaces } = composition;
    const [first, last] = [view.time(view.sizes.header - 8), view.time(view.width + 8)];
    const taken = new Set<number>(); // of signs that would lie on each other, one is drawn
    composition.remarks.forEach((remark, k) => {
        if (remarkPlaces[k] < first || remarkPlaces[k] > last)
            return;
        const isChosen = k === view.remark;
        const [x, y] = signOf(view, remark);
        const cell = ((remark.row + 1) * 64 + remark.tint) * 65536 + Math.round(x / 6);
        if (!isChosen && (taken.has(cell) || y > view.height + 20))
            return;
        taken.add(cell);
        const size = isChosen ? 10 : 7;
        context.fillStyle = scene.look.tints[remark.tint][2];
        context.strokeStyle = isChosen ? theme.text : theme.page;
        context.beginPath();
        context.moveTo(x, y - 9 - size / 2);
        context.lineTo(x + size, y);
        context.lineTo(x - size, y);
        context.closePath();
        context.fill();
        context.stroke();
    });
}

function paintRuler(context: CanvasRenderingContext2D, view: View, words: Words, ticks: { time: number; hasLabel: boolean }[]) {
    const { composition, theme, sizes } = view;
    const axis = composition.axisOf(undefined);
    context.fillStyle = theme.panel;
    context.fillRect(0, 0, view.width, view.top - 4);
    context.save();
    context.beginPath();
    context.rect(sizes.header, 0, view.lane, view.top);
    context.clip();
    context.strokeStyle = theme.dim;
    context.beginPath();
    for (const tick of ticks) {
        const x = Math.round(view.x(tick.time)) + 0.5;
        context.moveTo(x, sizes.ruler - (tick.hasLabel ? 10 : 5));
        context.lineTo(x, sizes.ruler);
    }
    context.stroke();
    words.use(context, smallFont);
    context.fillStyle = theme.dim;
    for (const tick of ticks)
        if (tick.hasLabel && view.x(tick.time) + 70 < view.width)
            context.fillText(label(composition.mode, axis.recordAt(tick.time) + composition.labelStart), view.x(tick.time) + 1, 13);
    context.textAlign = 'center';
    for (const fold of composition.folds)
        if (view.x(fold.out) - view.x(fold.in) >= 60)
            context.fillText(label(composition.mode, fold.frames), (view.x(fold.in) + view.x(fold.out)) / 2, 13);
    context.textAlign = 'left';
    paintMarks(context, view, words);
    context.restore();
    context.strokeStyle = theme.line;
    context.beginPath();
    context.moveTo(sizes.header, sizes.ruler + 0.5);
    context.lineTo(view.width, sizes.ruler + 0.5);
    context.stroke();
}

/** Flags below the ruler, each with as much of its name as there is room for up to the next one. */
function paintMarks(context: CanvasRenderingContext2D, view: View, words: Words) {
    const { composition, theme, sizes } = view;
    const axis = composition.axisOf(undefined);
    const y = sizes.ruler + 3;
    const xs = composition.marks.map(({ time }) => view.x(axis.placeOfIn(time)));
    composition.marks.forEach((mark, k) => {
        const x = xs[k];
        const end = mark.length > 0 ? view.x(axis.placeOfOut(mark.time + mark.length)) : x;
        if (x > view.width || Math.max(end, x + 130) < sizes.header || (xs[k + 1] < x + 1 && end === x))
            return;
        context.fillStyle = mark.colour ? `#${mark.colour.toString(16).padStart(6, '0')}` : theme.trxLine;
        if (end > x) {
            context.globalAlpha = 0.35;
            context.fillRect(x, y, end - x, 8);
            context.globalAlpha = 1;
        }
        context.fillRect(x, y, 1.5, 16);
        context.beginPath();
        for (const [right, down] of [[0, 0], [8, 0], [5, 4], [8, 8], [0, 8]])
            context.lineTo(x + right, y + down);
        context.fill();
        context.fillStyle = theme.dim;
        context.fillText(words.fit(context, view.scene.texts.at(mark.name), Math.min(110, (xs[k + 1] ?? Infinity) - x - 15)), x + 11, y + 5);
    });
}

function paintPlayhead(context: CanvasRenderingContext2D, view: View) {
    const x = Math.round(view.x(view.playhead)) + 0.5;
    if (x < view.sizes.header)
        return;
    context.strokeStyle = context.fillStyle = view.theme.fault;
    context.lineWidth = 1.5;
    context.beginPath();
    context.moveTo(x, 20);
    context.lineTo(x, view.height);
    context.stroke();
    context.beginPath();
    context.moveTo(x - 6, 18);
    context.lineTo(x + 6, 18);
    context.lineTo(x, 27);
    context.fill();
    context.lineWidth = 1;
}
