/** The scene as the page keeps it: columns of numbers, one entry a segment. What was not written has its default. */

import { Axis } from './axis';
import { Blocks } from './blocks';
import { Mode } from './timecode';

export const Gap = 3;
export const kinds = ['source', 'generated', 'container', 'gap'];
export const flag = { muted: 1, noTime: 2, overlaps: 4, effects: 8, marks: 16, keyed: 32 } as const;

export interface Sizes {
    header: number; ruler: number; marks: number; rowGap: number; radius: number;
    smallBox: number; labelFrom: number; tickApart: number;
}
export type Theme = Record<'page' | 'lane' | 'panel' | 'line' | 'text' | 'dim' | 'gap' | 'trx' | 'trxLine' | 'dense' | 'fault', string>;
export interface Look {
    sizes: Sizes;
    light: Theme;
    dark: Theme;
    /** Fill on light, fill on dark, edge. */
    tints: [string, string, string][];
    /** What colours of changes say: tint and word. */
    changes: [number, string][];
}

export type Property = [name: string, value: string];
export interface Row {
    name: string; detail: string; audio: boolean; version: number; top: number; height: number;
    first: number; last: number;
    /** As they are written, like all that is told on request. */
    track?: number[]; layer?: number[];
    /** Its transitions: [first, last). */
    firstTransition: number; lastTransition: number;
}
export interface Curve { name: string; keys: [frame: number, value: number][] }
export interface Effect { name: string; muted: boolean; properties: Property[]; curves: Curve[] }
export interface Transition {
    row: number; in: number; length: number; shape: number; muted: boolean; name: number;
    properties: number[]; effects: WrittenEffect[]; tint: number;
}
export interface Mark { time: number; length: number; colour: number; name: number; comment: number; segment: number }
/** Something that is said of a place. */
export interface Remark { tint: number; code: string; where: string; text: string; row: number; segment: number; time: number }

/** A stretch that is drawn narrower than it is. */
export interface Fold { in: number; out: number; frames: number }
export const Version = { only: 0, old: 1, new: 2 } as const;

type WrittenEffect = [owner: number, name: number, muted: boolean, properties: number[], curves: [number, number[]][]];

/** How a column is written: values one by one; as differences; some segments only; one value for all. */
type Written = { v?: number[]; d?: number[]; at?: number[]; of?: number[]; all?: number };

interface WrittenComposition {
    name: number; mode: number; labelStart?: number; begin?: number; end: number; height: number; count?: number;
    rows: [string, string, number, number, number, number, number, number, number[]?, number[]?][];
    cols: Record<string, Written>;
    pieces: Record<string, Written> & { count?: Written };
    opens?: number[];
    effects?: WrittenEffect[];
    trx?: [number, number, number, number, boolean, number, number[], number?][];
    trxEffects?: WrittenEffect[];
    marks?: [number, number, number, number, number, number][];
    version?: number;
    versions?: {
        mode: number; labelStart: number; axes: [number, number[]][]; plain: [number, number[]][];
        extent: [number, number]; folds: [number, number, number][]; counterpart: Written;
    };
    remarks?: [number, string, string, string, number, number, number][];
    properties?: number[];
}
/** Properties of segments that differ from their defaults: name, whether they are texts, and their column. */
type WrittenProperties = [number, boolean, Written][];
export interface Written_ {
    title: string; subtitle: string; texts: number; modes: Mode[]; tops: number; notes: string[]; look: Look;
    compositions: WrittenComposition[]; watch?: string;
}

function unpack<T extends Float64Array | Uint32Array | Uint8Array>(written: Written | undefined, to: T): T {
    if (!written)
        return to;
    if (written.all !== undefined)
        return to.fill(written.all) as T;
    if (written.v)
        to.set(written.v);
    else if (written.d) {
        let value = 0;
        written.d.forEach((difference, i) => { to[i] = value += difference; });
    } else if (written.at && written.of) {
        let at = 0;
        const { of } = written;
        written.at.forEach((difference, i) => { at += difference; to[at] = of[i]; });
    }
    return to;
}

/** Where in ascending values the first is that is not less than one. */
export function firstNotLess(values: ArrayLike<number>, low: number, high: number, value: number): number {
    while (low < high) {
        const middle = (low + high) >> 1;
        if (values[middle] < value)
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}

/** The texts of the scene, one a line and escaped as JSON has it. They stand behind the first picture: until they are here all are empty. */
export class Texts {
    private lines = '';
    private ends: Uint32Array | undefined;
    constructor(readonly count: number) {}
    arrived(lines: string) {
        this.lines = lines;
        this.ends = new Uint32Array(this.count);
        for (let i = 0, at = -1; i < this.count; ++i)
            this.ends[i] = at = lines.indexOf('\n', at + 1);
    }
    at(id: number): string {
        if (!this.ends)
            return '';
        const line = this.lines.slice(id === 0 ? 0 : this.ends[id - 1] + 1, this.ends[id]);
        return line.includes('\\') ? JSON.parse(`"${line}"`) as string : line;
    }
}

const plain = new Axis();
/** Without what arithmetic left behind a frame's begin. */
export const snapped = (time: number): number => Math.round(time * 1e6) / 1e6;

export class Composition {
    readonly count: number;
    readonly kind: Uint8Array;
    readonly flags: Uint8Array;
    readonly tint: Uint8Array;
    readonly start: Float64Array;
    readonly length: Float64Array;
    readonly nameId: Uint32Array;
    readonly reelId: Uint32Array;
    readonly idId: Uint32Array;
    readonly rowOf: Uint32Array;
    readonly mode: Mode;
    readonly labelStart: number;
    /** Of two versions, both folded and not. */
    begin: number;
    end: number;
    readonly height: number;
    readonly rows: Row[];
    readonly transitions: Transition[];
    /** Of the composition itself, and of its segments. */
    readonly marks: Mark[];
    readonly segmentMarks: Mark[];
    readonly remarks: Remark[];
    readonly version: number;
    /** Whether two versions are drawn. */
    readonly isCompared: boolean;
    folds: Fold[] = [];
    private readonly counterpartIds: Uint32Array | null = null;
    private readonly oldMode: Mode;
    private readonly oldLabelStart: number;
    private axes: Axis[] = [];
    /** The latest end among a row's segments up to each: where a look-up from the left begins. */
    private readonly reach: Float64Array;
    private readonly pieceFirst: Uint32Array;
    private readonly pieceRecord: Float64Array;
    private readonly pieceSource: Float64Array;
    private readonly pieceSpeed: Float64Array;
    private readonly pieceMode: Uint8Array;
    /** Likewise of a row's transitions. */
    private readonly transitionReach: Float64Array;
    private readonly markOwners: number[];
    private placesOfRemarks: Float64Array | undefined;
    private readonly opened = new Map<number, number>();
    private effectOwners: Uint32Array | undefined;
    readonly blocks: Blocks;

    constructor(private readonly scene: Scene, private readonly from: WrittenComposition, private readonly index: number) {
        const n = this.count = from.count ?? 0;
        const { cols } = from;
        this.mode = scene.modes[from.mode];
        this.labelStart = from.labelStart ?? 0;
        this.begin = from.begin ?? 0;
        this.end = from.end;
        this.height = from.height;
        this.kind = unpack(cols.kind, new Uint8Array(n));
        this.flags = unpack(cols.flags, new Uint8Array(n));
        this.tint = unpack(cols.tint, new Uint8Array(n));
        this.length = unpack(cols.length, new Float64Array(n));
        this.nameId = unpack(cols.name, new Uint32Array(n));
        this.reelId = unpack(cols.reel, new Uint32Array(n));
        this.idId = unpack(cols.id, new Uint32Array(n));
        this.start = unpack(cols.hole, new Float64Array(n));
        this.rowOf = new Uint32Array(n);
        this.reach = new Float64Array(n);
        let first = 0;
        this.rows = from.rows.map(([name, detail, audio, top, height, count, , version, track, layer], row) => {
            let at = 0;
            let reach = -Infinity;
            for (let i = first; i < first + count; ++i) { // written as what lies between it and the one in front
                this.rowOf[i] = row;
                this.start[i] += at;
                at = this.start[i] + this.length[i];
                this.reach[i] = reach = Math.max(reach, at);
            }
            const made: Row = {
                name, detail, audio: audio === 1, version, top, height, first, last: first + count, firstTransition: 0, lastTransition: 0,
                track, layer,
            };
            first += count;
            return made;
        });
        const pieces = from.pieces;
        const counts = unpack(pieces.count, new Uint8Array(n));
        this.pieceFirst = new Uint32Array(n + 1);
        for (let i = 0; i < n; ++i)
            this.pieceFirst[i + 1] = this.pieceFirst[i] + counts[i];
        const p = this.pieceFirst[n];
        this.pieceRecord = unpack(pieces.record, new Float64Array(p));
        this.pieceSource = unpack(pieces.source, new Float64Array(p));
        this.pieceSpeed = unpack(pieces.speed, new Float64Array(p).fill(1));
        this.pieceMode = unpack(pieces.mode, new Uint8Array(p).fill(from.mode));
        for (let i = 0; i < n; ++i) // the record time of a piece counts from its segment's
            for (let k = this.pieceFirst[i]; k < this.pieceFirst[i + 1]; ++k)
                this.pieceRecord[k] += this.start[i];
        for (let i = 0; i + 1 < (from.opens?.length ?? 0); i += 2)
            this.opened.set(from.opens![i], from.opens![i + 1]);
        this.transitions = (from.trx ?? []).map(([row, start, length, shape, muted, name, properties, tint]) =>
            ({ row, in: start, length, shape, muted, name, properties, effects: [], tint: tint ?? 255 }));
        for (const written of from.trxEffects ?? [])
            this.transitions[written[0]].effects.push(written);
        this.transitions.sort((a, b) => a.row - b.row || a.in - b.in);
        this.transitionReach = new Float64Array(this.transitions.length);
        this.transitions.forEach(({ row: at, in: start, length }, t) => {
            const row = this.rows[at];
            if (row.lastTransition === 0)
                row.firstTransition = t;
            row.lastTransition = t + 1;
            this.transitionReach[t] = Math.max(start + length, t > row.firstTransition ? this.transitionReach[t - 1] : -Infinity);
        });
        const marks = (from.marks ?? []).map(([time, length, colour, name, comment, segment]) =>
            ({ time, length, colour, name, comment, segment }));
        this.marks = marks.filter(({ segment }) => segment < 0).sort((a, b) => a.time - b.time);
        this.segmentMarks = marks.filter(({ segment }) => segment >= 0);
        this.markOwners = this.segmentMarks.map(({ segment }) => segment);
        this.remarks = (from.remarks ?? []).map(([tint, code, where, words, row, segment, time]) =>
            ({ tint, code, where, text: words, row, segment, time }));
        this.version = from.version ?? Version.only;
        this.isCompared = from.versions !== undefined;
        this.oldMode = scene.modes[from.versions?.mode ?? from.mode];
        this.oldLabelStart = from.versions?.labelStart ?? this.labelStart;
        if (from.versions)
            this.counterpartIds = unpack(from.versions.counterpart, new Uint32Array(n));
        this.blocks = new Blocks(this);
        this.fold(true);
    }

    /** Draws long unchanged stretches narrow, or as they are. */
    fold(isFolded: boolean) {
        const { versions } = this.from;
        if (!versions)
            return;
        this.placesOfRemarks = undefined;
        this.axes = (isFolded ? versions.axes : versions.plain).map(([slope, knots]) => new Axis(slope, knots));
        this.folds = isFolded ? versions.folds.map(([start, out, frames]) => ({ in: start, out, frames })) : [];
        this.begin = isFolded ? this.from.begin ?? 0 : versions.extent[0];
        this.end = isFolded ? this.from.end : versions.extent[1];
    }
    get name(): string { return this.scene.texts.at(this.from.name); }
    get properties(): Property[] { return this.scene.pairs(this.from.properties); }
    get remarkPlaces(): Float64Array {
        return this.placesOfRemarks ??= Float64Array.from(this.remarks, ({ row, time }) => this.axisOf(this.rows[row]).placeOfIn(time));
    }
    get hasFolds(): boolean { return (this.from.versions?.folds.length ?? 0) > 0; }

    /** Of a row; of none, that of the ruler. */
    axisOf(row: Row | undefined): Axis {
        return this.isCompared ? this.axes[row?.version === Version.old ? 0 : 1] : plain;
    }
    modeOf(row: Row | undefined): Mode { return row?.version === Version.old ? this.oldMode : this.mode; }
    labelStartOf(row: Row | undefined): number { return row?.version === Version.old ? this.oldLabelStart : this.labelStart; }
    row(i: number): Row { return this.rows[this.rowOf[i]]; }
    /** Where a segment is drawn. */
    placeOfIn(i: number): number { return this.axisOf(this.row(i)).placeOfIn(this.start[i]); }
    placeOfOut(i: number): number { return Math.max(this.axisOf(this.row(i)).placeOfOut(this.out(i)), this.placeOfIn(i)); }
    /** The same shot in the other version; -1 for none. */
    counterpart(i: number): number { return this.counterpartIds ? this.counterpartIds[i] - 1 : -1; }
    /** The segment of a row that plays at a place. */
    atPlace(row: Row, place: number): number {
        const axis = this.axisOf(row);
        return axis.isHole(place) ? -1 : this.at(row, snapped(axis.recordAt(place)));
    }

    nameOf(i: number): string { return this.scene.texts.at(this.nameId[i]); }
    reelOf(i: number): string { return this.scene.texts.at(this.reelId[i]); }
    idOf(i: number): string { return this.scene.texts.at(this.idId[i]); }
    out(i: number): number { return this.start[i] + this.length[i]; }
    has(i: number, bit: number): boolean { return (this.flags[i] & bit) !== 0; }
    effectsOf(i: number): Effect[] {
        const all = this.from.effects;
        if (!all || !this.has(i, flag.effects))
            return [];
        this.effectOwners ??= Uint32Array.from(all, ([owner]) => owner);
        const found: Effect[] = [];
        for (let k = firstNotLess(this.effectOwners, 0, all.length, i); this.effectOwners[k] === i; ++k)
            found.push(this.scene.effect(all[k]));
        return found;
    }
    marksOf(i: number): Mark[] {
        const found: Mark[] = [];
        for (let k = firstNotLess(this.markOwners, 0, this.markOwners.length, i); this.markOwners[k] === i; ++k)
            found.push(this.segmentMarks[k]);
        return found;
    }
    /** The composition that a container opens. */
    opens(i: number): number | undefined { return this.opened.get(i); }

    /** The first segment of a row that ends at or behind a time. */
    firstReaching(row: Row, time: number): number { return firstNotLess(this.reach, row.first, row.last, time); }
    /** The first segment of a row that begins at or behind a time; the row's end where none does. */
    firstStarting(row: Row, time: number): number { return firstNotLess(this.start, row.first, row.last, time); }
    /** The first transition of a row that ends at or behind a time; the end of the row's where none does. */
    firstTransitionReaching(row: Row, time: number): number {
        return firstNotLess(this.transitionReach, row.firstTransition, row.lastTransition, time);
    }
    /** The transition of a row that plays at a time; -1 for none. */
    transitionAt(row: Row, time: number): number {
        for (let t = this.firstTransitionReaching(row, time); t < row.lastTransition && this.transitions[t].in <= time; ++t)
            if (time < this.transitions[t].in + this.transitions[t].length)
                return t;
        return -1;
    }
    /** What a transition stands between: the segment in front, and the one behind; -1 for none. */
    beside({ row: at, in: start, length }: Transition): [number, number] {
        const row = this.rows[at];
        const behind = this.firstStarting(row, start + length - 1e-5);
        return [behind > row.first ? behind - 1 : -1, behind < row.last ? behind : -1];
    }
    /** The segment of a row that plays at a time: the last one that began; -1 for none. */
    at(row: Row, time: number): number {
        for (let i = this.firstReaching(row, time); i < row.last && this.start[i] <= time; ++i)
            if (time < this.out(i))
                return i;
        return -1;
    }

    /** The piece of what a segment plays that a record time lies in; -1 for none. */
    private pieceAt(i: number, time: number): number {
        let found = -1;
        for (let k = this.pieceFirst[i]; k < this.pieceFirst[i + 1]; ++k)
            if (found < 0 || this.pieceRecord[k] <= time)
                found = k;
        return found;
    }

    /** The label time of the frame of material that is seen at a record time. */
    sourceFrame(i: number, time: number): { frame: number; mode: Mode; rough: boolean } | undefined {
        const k = this.pieceAt(i, time);
        if (k < 0)
            return undefined;
        const speed = this.pieceSpeed[k];
        const point = this.pieceSource[k] + (time - this.pieceRecord[k]) * speed;
        const frame = speed < 0 ? Math.ceil(point - 1e-5) - 1 : Math.floor(point + 1e-5);
        return { frame, mode: this.scene.modes[this.pieceMode[k]], rough: this.has(i, flag.keyed) && time !== this.pieceRecord[k] };
    }

    /** Of normal speed, in hundredths, at the segment's begin; undefined where nothing plays. */
    percent(i: number): number | undefined {
        const k = this.pieceFirst[i];
        if (k === this.pieceFirst[i + 1])
            return undefined;
        const source = this.scene.modes[this.pieceMode[k]].rate;
        const clock = source > 0 && this.mode.rate > 0 ? this.mode.rate / source : 1;
        return this.pieceSpeed[k] * clock * 100;
    }

    /** All properties of a segment that differ from their defaults. */
    propertiesOf(i: number): Property[] {
        const found: Property[] = [];
        for (const { name, isText, at, values } of this.scene.columnsOf(this.index, this.count)) {
            const k = at ? firstNotLess(at, 0, at.length, i) : i;
            if (!at || at[k] === i)
                found.push([name, isText ? this.scene.texts.at(values[k]) : String(values[k])]);
        }
        return found;
    }
}

interface Column { name: string; isText: boolean; at: Uint32Array | null; values: Float64Array }

export class Scene {
    readonly modes: Mode[];
    readonly look: Look;
    readonly title: string;
    readonly subtitle: string;
    readonly notes: string[];
    readonly tops: number;
    private readonly made: (Composition | undefined)[];
    private properties: WrittenProperties[] | undefined;
    private readonly columns: (Column[] | undefined)[] = [];

    /** What is told of a segment on request is read then. */
    constructor(private readonly written: Written_, readonly texts: Texts, private readonly readProperties: () => WrittenProperties[] | undefined) {
        this.modes = written.modes;
        this.look = written.look;
        this.title = written.title;
        this.subtitle = written.subtitle;
        this.notes = written.notes;
        this.tops = written.tops;
        this.made = written.compositions.map(() => undefined);
    }

    get count(): number { return this.made.length; }
    get isCompared(): boolean { return this.written.compositions.some((one) => one.version !== undefined); }
    composition(i: number): Composition { return this.made[i] ??= new Composition(this, this.written.compositions[i], i); }
    nameOf(i: number): string { return this.texts.at(this.written.compositions[i].name); }
    pairs(ids: number[] | undefined): Property[] {
        const pairs: Property[] = [];
        for (let i = 0; i + 1 < (ids?.length ?? 0); i += 2)
            pairs.push([this.texts.at(ids![i]), this.texts.at(ids![i + 1])]);
        return pairs;
    }
    effect([, name, muted, properties, curves]: WrittenEffect): Effect {
        return {
            name: this.texts.at(name), muted, properties: this.pairs(properties),
            curves: curves.map(([curve, keys]) => ({
                name: this.texts.at(curve),
                keys: Array.from({ length: keys.length / 2 }, (_, i): [number, number] => [keys[2 * i], keys[2 * i + 1]]),
            })),
        };
    }
    columnsOf(composition: number, count: number): Column[] {
        this.properties ??= this.readProperties();
        if (!this.properties)
            return [];
        return this.columns[composition] ??= this.properties[composition].map(([name, isText, column]) => {
            let at = 0;
            return column.at
                ? { name: this.texts.at(name), isText, at: Uint32Array.from(column.at, (step) => at += step), values: Float64Array.from(column.of!) }
                : { name: this.texts.at(name), isText, at: null, values: unpack(column, new Float64Array(count)) };
        });
    }
}
