/** Draws what is seen of a composition on a canvas: boxes by colour, so that a colour is set once. */

import { boxesOf, ticksOf } from './layout';
import { flag, Gap, Remark, Row } from './scene';
import { label } from './timecode';
import { View } from './view';

const noTint = 255;
const font = '"DejaVu Sans", system-ui, sans-serif';
export const nameFont = `600 12px ${font}`;
export const smallFont = `10.5px ${font}`;

/** Cuts texts to a width, measuring each once. */
export class Words {
    private readonly known = new Map<string, Map<string, number>>();
    private widths = new Map<string, number>();

    /** Texts are drawn, and measured, in this font from now on. */
    use(context: CanvasRenderingContext2D, font: string) {
        context.font = font;
        this.widths = this.known.get(font) ?? new Map<string, number>();
        this.known.set(font, this.widths);
    }

    fit(context: CanvasRenderingContext2D, text: string, width: number): string {
        if (text === '' || width < 8)
            return '';
        const head = text.length > 300 ? text.slice(0, 300) : text;
        let full = this.widths.get(head);
        if (full === undefined) {
            if (this.widths.size > 50000)
                this.widths.clear();
            this.widths.set(head, full = context.measureText(head).width);
        }
        if (full <= width && head.length === text.length)
            return isolated(text);
        const letters = Math.floor((width - 9) / (full / head.length));
        return letters > 0 ? isolated(Array.from(head).slice(0, letters).join('')) + '\u2026' : '';
    }
}

/** With its own direction, and every control character as one that is seen. */
export function isolated(text: string): string {
    const seen = text.replace(/[\u0000-\u001f\u007f]/g, '\ufffd');
    return /[^\u0000-\u007f]/.test(seen) ? `\u2068${seen}\u2069` : seen;
}

export function paint(context: CanvasRenderingContext2D, view: View, words: Words) {
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
    paintBoxes(context, view, words, seen);
    paintTransitions(context, view, seen);
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

function paintBoxes(context: CanvasRenderingContext2D, view: View, words: Words, seen: Seen) {
    const { composition, theme, sizes, scene, matches } = view;
    const span = view.span();
    const look = scene.look.tints;
    const solid = look.map(() => new Path2D());
    const faint = look.map(() => new Path2D());
    const dense = new Path2D();
    const gaps = new Path2D();
    const faults = new Path2D();
    const texts: [x: number, y: number, width: number, height: number, segment: number][] = [];
    const boxes: number[] = [];
    const right = view.width;
    for (const { row, y } of seen) {
        boxesOf(composition, row, span, sizes, boxes);
        for (let b = 0; b < boxes.length; b += 4) {
            const from = Math.max(sizes.header + boxes[b], sizes.header - 8);
            const width = Math.min(sizes.header + boxes[b + 1], right + 8) - from;
            const i = boxes[b + 2];
            if (width <= 0)
                continue;
            if (boxes[b + 3] > 1)
                dense.rect(from, y, width, row.height);
            else if (composition.kind[i] === Gap)
                gaps.rect(from + 1.5, y + 1.5, Math.max(width - 3, 0.5), row.height - 3);
            else {
                const isFaint = composition.has(i, flag.muted) || (matches !== null && matches[i] === 0);
                const path = (isFaint ? faint : solid)[composition.tint[i]];
                if (width < 8)
                    path.rect(from + 0.5, y + 0.5, Math.max(width - 1, 0.5), row.height - 1);
                else
                    path.roundRect(from + 0.5, y + 0.5, width - 1, row.height - 1, sizes.radius);
                if (width >= sizes.labelFrom)
                    texts.push([from, y, width, row.height, i]);
            }
            if (composition.has(i, flag.overlaps | flag.noTime))
                faults.rect(from + 1, y + 1, Math.max(width - 2, 0.5), row.height - 2);
        }
    }
    const side = view.isDark ? 1 : 0;
    context.lineWidth = 1;
    for (const [paths, alpha] of [[solid, 1], [faint, 0.38]] as const) {
        context.globalAlpha = alpha;
        paths.forEach((path, tint) => {
            context.fillStyle = look[tint][side];
            context.strokeStyle = look[tint][2];
            context.fill(path);
            context.stroke(path);
        });
    }
    context.globalAlpha = 1;
    context.fillStyle = theme.dense;
    context.fill(dense);
    context.strokeStyle = theme.gap;
    context.setLineDash([3, 4]);
    context.stroke(gaps);
    context.strokeStyle = theme.fault;
    context.setLineDash([5, 3]);
    context.lineWidth = 2;
    context.stroke(faults);
    context.setLineDash([]);
    context.lineWidth = 1;
    paintTexts(context, view, words, texts);
    paintChosen(context, view);
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

function paintTexts(context: CanvasRenderingContext2D, view: View, words: Words, texts: [number, number, number, number, number][]) {
    const { composition, theme, sizes } = view;
    words.use(context, nameFont);
    context.fillStyle = theme.text;
    const badges: [string, number, number][] = [];
    for (const [x, y, width, height, i] of texts) {
        const badge = width < 90 ? '' : badgeOf(view, i);
        const taken = badge === '' ? 0 : 8 + 6.6 * badge.length;
        if (badge !== '')
            badges.push([badge, x + width - 6, y + height / 2 - 8]);
        const from = Math.max(x, sizes.header);
        context.fillText(words.fit(context, composition.nameOf(i), x + width - from - 12 - taken), from + 7, y + height / 2 - 8);
    }
    words.use(context, smallFont);
    context.fillStyle = theme.dim;
    for (const [x, y, width, height, i] of texts) {
        const from = Math.max(x, sizes.header);
        if (width >= 56)
            context.fillText(words.fit(context, sourceLine(view, i), x + width - from - 12), from + 7, y + height / 2 + 9);
    }
    context.textAlign = 'right';
    for (const [badge, x, y] of badges)
        context.fillText(badge, x, y);
    context.textAlign = 'left';
    if (view.showCurves)
        for (const [x, y, width, height, i] of texts)
            paintCurves(context, view, x, y, width, height, i);
    context.fillStyle = theme.trxLine;
    for (const mark of composition.marks)
        if (mark.segment >= 0) {
            const row = composition.rows[composition.rowOf[mark.segment]];
            const x = view.x(composition.axisOf(row).placeOfIn(mark.time));
            const y = view.top + row.top - view.scroll;
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
    const outline = (i: number, width: number, colour: string) => {
        const row = composition.rows[composition.rowOf[i]];
        const from = view.x(composition.placeOfIn(i));
        const to = Math.max(view.x(composition.placeOfOut(i)), from + 1);
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
        outline(other, 1.5, view.isDark ? '#7fb0ff' : '#1d5fc4');
    if (view.selected >= 0)
        outline(view.selected, 2.5, view.isDark ? '#7fb0ff' : '#1d5fc4');
}

function paintTransitions(context: CanvasRenderingContext2D, view: View, seen: Seen) {
    const { composition, theme, scene } = view;
    const side = view.isDark ? 1 : 0;
    const lanes = new Map(seen.map((one) => [one.index, one]));
    for (const transition of composition.transitions) {
        const lane = lanes.get(transition.row);
        const axis = composition.axisOf(composition.rows[transition.row]);
        const from = view.x(axis.placeOfIn(transition.in));
        const to = Math.max(view.x(axis.placeOfOut(transition.in + transition.length)), from + 1);
        if (!lane || to < view.sizes.header || from > view.width)
            continue;
        const { row, y } = lane;
        const bottom = y + row.height;
        if (to - from < 3) {
            context.fillStyle = theme.dense;
            context.fillRect(from, y, to - from, row.height);
            continue;
        }
        const behind = composition.firstStarting(row, transition.in + transition.length - 1e-5);
        const tint = (i: number) => i >= row.first && i < row.last ? scene.look.tints[composition.tint[i]][side] : theme.lane;
        const shape = (points: [number, number][], colour: string) => {
            context.beginPath();
            points.forEach(([px, py], k) => k === 0 ? context.moveTo(px, py) : context.lineTo(px, py));
            context.closePath();
            context.fillStyle = colour;
            context.fill();
        };
        context.globalAlpha = transition.muted ? 0.38 : 1;
        context.strokeStyle = theme.trxLine;
        const middle = (from + to) / 2;
        if (transition.shape === 1) {
            shape([[from, y], [middle, y], [middle, bottom], [from, bottom]], tint(behind - 1));
            shape([[middle, y], [to, y], [to, bottom], [middle, bottom]], tint(behind));
        } else {
            shape([[from, y], [from, bottom], [to, bottom]], tint(behind - 1));
            shape([[from, y], [to, y], [to, bottom]], transition.shape === 2 ? theme.trxLine : tint(behind));
        }
        context.beginPath();
        context.moveTo(transition.shape === 1 ? middle : from, y);
        context.lineTo(transition.shape === 1 ? middle : to, bottom);
        context.stroke();
        if (transition.tint !== noTint) {
            context.strokeStyle = scene.look.tints[transition.tint][2];
            context.lineWidth = 2.5;
            context.strokeRect(from, y, to - from, row.height);
            context.lineWidth = 1;
        }
        context.globalAlpha = 1;
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
    const taken = new Set<number>(); // of signs that would lie on each other, one is drawn
    composition.remarks.forEach((remark, k) => {
        const [x, y] = signOf(view, remark);
        const isChosen = k === view.remark;
        if (x < 0 || x > view.width)
            return;
        const cell = ((remark.row + 1) * 64 + remark.tint) * 65536 + Math.round(x / 3);
        if (!isChosen && taken.has(cell))
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
        if (tick.hasLabel)
            context.fillText(label(composition.mode, axis.recordAt(tick.time) + composition.labelStart), view.x(tick.time) + 1, 13);
    context.textAlign = 'center';
    for (const fold of composition.folds)
        if (view.x(fold.out) - view.x(fold.in) >= 60)
            context.fillText(label(composition.mode, fold.frames), (view.x(fold.in) + view.x(fold.out)) / 2, 13);
    context.textAlign = 'left';
    for (const mark of composition.marks)
        if (mark.segment < 0) {
            const x = view.x(axis.placeOfIn(mark.time));
            const colour = mark.colour ? `#${mark.colour.toString(16).padStart(6, '0')}` : theme.trxLine;
            context.fillStyle = colour;
            if (mark.length > 0) {
                context.globalAlpha = 0.35;
                context.fillRect(x, sizes.ruler + 3, view.x(axis.placeOfOut(mark.time + mark.length)) - x, 8);
                context.globalAlpha = 1;
            }
            context.fill(new Path2D(`M${x} ${sizes.ruler + 3}h8l-3 4l3 4h-8v8h-1.5v-16z`));
            context.fillStyle = theme.dim;
            context.fillText(words.fit(context, mark.name, 110), x + 11, sizes.ruler + 8);
        }
    context.restore();
    context.strokeStyle = theme.line;
    context.beginPath();
    context.moveTo(sizes.header, sizes.ruler + 0.5);
    context.lineTo(view.width, sizes.ruler + 0.5);
    context.stroke();
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
