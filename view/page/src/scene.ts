/** The scene as the page keeps it: columns of numbers, one entry a segment. What was not written has its default. */

import { Axis } from './axis';
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
    first: number; last: number; track: Property[]; layer: Property[];
}
export interface Curve { name: string; keys: [frame: number, value: number][] }
export interface Effect { name: string; muted: boolean; properties: Property[]; curves: Curve[] }
export interface Transition {
    row: number; in: number; length: number; shape: number; muted: boolean; name: string;
    properties: Property[]; effects: Effect[]; tint: number;
}
export interface Mark { time: number; length: number; colour: number; name: string; comment: string; segment: number }
/** Something that is said of a place. */
export interface Remark { tint: number; code: string; where: string; text: string; row: number; segment: number; time: number }

/** A stretch that is drawn narrower than it is. */
export interface Fold { in: number; out: number; frames: number }
export const Version = { only: 0, old: 1, new: 2 } as const;

/** How a column is written: values one by one; as differences; some segments only; one value for all. */
type Written = { v?: number[]; d?: number[]; at?: number[]; of?: number[]; all?: number };

interface WrittenComposition {
    name: number; mode: number; labelStart?: number; begin?: number; end: number; height: number; count?: number;
    rows: [string, string, number, number, number, number, number, number, number[]?, number[]?][];
    cols: Record<string, Written>;
    pieces: Record<string, Written> & { count?: Written };
    opens?: number[];
    props?: [number, boolean, Written][];
    effects?: [number, number, boolean, number[], [number, number[]][]][];
    trx?: [number, number, number, number, boolean, number, number[], number?][];
    trxEffects?: [number, number, boolean, number[], [number, number[]][]][];
    marks?: [number, number, number, number, number, number][];
    version?: number;
    versions?: {
        mode: number; labelStart: number; axes: [number, number[]][]; plain: [number, number[]][];
        extent: [number, number]; folds: [number, number, number][]; counterpart: Written;
    };
    remarks?: [number, string, string, string, number, number, number][];
    properties?: number[];
}
export interface Written_ {
    title: string; subtitle: string; texts: string[]; modes: Mode[]; tops: number; notes: string[]; look: Look;
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
    readonly name: string;
    readonly mode: Mode;
    readonly labelStart: number;
    /** Of two versions, both folded and not. */
    begin: number;
    end: number;
    readonly height: number;
    readonly rows: Row[];
    readonly transitions: Transition[];
    readonly marks: Mark[];
    readonly remarks: Remark[];
    readonly properties: Property[];
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
    private readonly opened = new Map<number, number>();
    private readonly effectMap = new Map<number, Effect[]>();
    private readonly columns: { name: string; isText: boolean; at: Uint32Array | null; values: Float64Array }[] = [];

    constructor(private readonly scene: Scene, private readonly from: WrittenComposition) {
        const text = (id: number) => scene.texts[id];
        const n = this.count = from.count ?? 0;
        const { cols } = from;
        this.name = text(from.name);
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
                name, detail, audio: audio === 1, version, top, height, first, last: first + count,
                track: scene.pairs(track), layer: scene.pairs(layer),
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
        for (const [name, isText, column] of from.props ?? []) {
            if (column.at) {
                let at = 0;
                this.columns.push({ name: text(name), isText, at: Uint32Array.from(column.at, (d) => at += d), values: Float64Array.from(column.of!) });
            } else
                this.columns.push({ name: text(name), isText, at: null, values: unpack(column, new Float64Array(n)) });
        }
        const effect = ([, name, muted, properties, curves]: NonNullable<WrittenComposition['effects']>[0]): Effect => ({
            name: text(name), muted, properties: scene.pairs(properties),
            curves: curves.map(([curve, keys]) => ({
                name: text(curve),
                keys: Array.from({ length: keys.length / 2 }, (_, i): [number, number] => [keys[2 * i], keys[2 * i + 1]]),
            })),
        });
        for (const written of from.effects ?? [])
            this.effectMap.set(written[0], [...this.effectMap.get(written[0]) ?? [], effect(written)]);
        this.transitions = (from.trx ?? []).map(([row, start, length, shape, muted, name, properties, tint]) =>
            ({ row, in: start, length, shape, muted, name: text(name), properties: scene.pairs(properties), effects: [], tint: tint ?? 255 }));
        for (const written of from.trxEffects ?? [])
            this.transitions[written[0]].effects.push(effect(written));
        this.marks = (from.marks ?? []).map(([time, length, colour, name, comment, segment]) =>
            ({ time, length, colour, name: text(name), comment: text(comment), segment }));
        this.remarks = (from.remarks ?? []).map(([tint, code, where, words, row, segment, time]) =>
            ({ tint, code, where, text: words, row, segment, time }));
        this.properties = scene.pairs(from.properties);
        this.version = from.version ?? Version.only;
        this.isCompared = from.versions !== undefined;
        this.oldMode = scene.modes[from.versions?.mode ?? from.mode];
        this.oldLabelStart = from.versions?.labelStart ?? this.labelStart;
        if (from.versions)
            this.counterpartIds = unpack(from.versions.counterpart, new Uint32Array(n));
        this.fold(true);
    }

    /** Draws long unchanged stretches narrow, or as they are. */
    fold(isFolded: boolean) {
        const { versions } = this.from;
        if (!versions)
            return;
        this.axes = (isFolded ? versions.axes : versions.plain).map(([slope, knots]) => new Axis(slope, knots));
        this.folds = isFolded ? versions.folds.map(([start, out, frames]) => ({ in: start, out, frames })) : [];
        this.begin = isFolded ? this.from.begin ?? 0 : versions.extent[0];
        this.end = isFolded ? this.from.end : versions.extent[1];
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

    nameOf(i: number): string { return this.scene.texts[this.nameId[i]]; }
    reelOf(i: number): string { return this.scene.texts[this.reelId[i]]; }
    idOf(i: number): string { return this.scene.texts[this.idId[i]]; }
    out(i: number): number { return this.start[i] + this.length[i]; }
    has(i: number, bit: number): boolean { return (this.flags[i] & bit) !== 0; }
    effectsOf(i: number): Effect[] { return this.effectMap.get(i) ?? []; }
    /** The composition that a container opens. */
    opens(i: number): number | undefined { return this.opened.get(i); }

    /** The first segment of a row that ends at or behind a time. */
    firstReaching(row: Row, time: number): number {
        let low = row.first;
        let high = row.last;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (this.reach[middle] < time)
                low = middle + 1;
            else
                high = middle;
        }
        return low;
    }

    /** The first segment of a row that begins at or behind a time; the row's end where none does. */
    firstStarting(row: Row, time: number): number {
        let low = row.first;
        let high = row.last;
        while (low < high) {
            const middle = (low + high) >> 1;
            if (this.start[middle] < time)
                low = middle + 1;
            else
                high = middle;
        }
        return low;
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
        for (const { name, isText, at, values } of this.columns) {
            let value = NaN;
            if (at) {
                let low = 0;
                let high = at.length;
                while (low < high) {
                    const middle = (low + high) >> 1;
                    if (at[middle] < i)
                        low = middle + 1;
                    else
                        high = middle;
                }
                if (at[low] !== i)
                    continue;
                value = values[low];
            } else
                value = values[i];
            found.push([name, isText ? this.scene.texts[value] : String(value)]);
        }
        return found;
    }
}

export class Scene {
    readonly texts: string[];
    readonly modes: Mode[];
    readonly look: Look;
    readonly title: string;
    readonly subtitle: string;
    readonly notes: string[];
    readonly tops: number;
    private readonly made: (Composition | undefined)[];

    constructor(private readonly written: Written_) {
        this.texts = written.texts;
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
    composition(i: number): Composition { return this.made[i] ??= new Composition(this, this.written.compositions[i]); }
    nameOf(i: number): string { return this.texts[this.written.compositions[i].name]; }
    pairs(ids: number[] | undefined): Property[] {
        const pairs: Property[] = [];
        for (let i = 0; i + 1 < (ids?.length ?? 0); i += 2)
            pairs.push([this.texts[ids![i]], this.texts[ids![i + 1]]]);
        return pairs;
    }
}
