/** What of a composition is looked at, and what in it is chosen. Painters and panels listen to it. */

import { scaleLinear } from 'd3-scale';
import { zoomIdentity, type ZoomTransform } from 'd3-zoom';
import { Span } from './layout';
import { Composition, Scene } from './scene';

export class View {
    composition: Composition;
    /** The composition's number, and below it those it was opened from. */
    readonly way: number[] = [0];
    width = 800;
    height = 400;
    scroll = 0;
    transform: ZoomTransform = zoomIdentity;
    /** Segments; -1: none. */
    selected = -1;
    hovered = -1;
    /** The transition that is selected instead; -1: none. */
    transition = -1;
    playhead = 0;
    showCurves = false;
    isDark = false;
    matches: Uint8Array | null = null;
    /** The remark that was gone to; -1: none. */
    remark = -1;
    private readonly listeners: ((what: Change) => void)[] = [];

    constructor(readonly scene: Scene) {
        this.composition = scene.composition(0);
        this.playhead = this.composition.begin;
    }

    get sizes() { return this.scene.look.sizes; }
    get theme() { return this.isDark ? this.scene.look.dark : this.scene.look.light; }
    get top() { return this.sizes.ruler + (this.composition.marks.length > 0 ? this.sizes.marks : 0) + 6; }
    /** Pixels for the time line itself. */
    get lane() { return Math.max(this.width - this.sizes.header, 16); }

    private get base() { return scaleLinear().domain([this.composition.begin, this.composition.end]).range([0, this.lane]); }
    private made = { transform: zoomIdentity, lane: -1, begin: 0, end: 1, scale: scaleLinear(), span: { in: 0, out: 1, width: 1 } };
    /** From time to pixels of the lane: asked for each thing in each frame, and made when what it follows from has changed. */
    private get seen() {
        const { transform, lane, made, composition: { begin, end } } = this;
        if (made.transform !== transform || made.lane !== lane || made.begin !== begin || made.end !== end) {
            const scale = transform.rescaleX(this.base);
            const [from, to] = scale.domain();
            this.made = { transform, lane, begin, end, scale, span: { in: from, out: to, width: lane } };
        }
        return this.made;
    }
    span(): Span { return this.seen.span; }
    x(time: number): number { return this.sizes.header + this.seen.scale(time); }
    time(x: number): number { return this.seen.scale.invert(x - this.sizes.header); }

    /** The transform that shows a stretch of time over the whole width. */
    transformFor(from: number, to: number): ZoomTransform {
        const k = Math.min(Math.max((this.composition.end - this.composition.begin) / Math.max(to - from, 1e-9), this.least), this.most);
        return zoomIdentity.scale(k).translate(-this.base(from), 0);
    }
    readonly least = 0.5;
    /** A frame is at most this wide. */
    get most() { return Math.max(1, (this.composition.end - this.composition.begin) * 160 / this.lane); }

    get mostScroll() { return Math.max(0, this.composition.height + 12 - (this.height - this.top)); }

    on(listener: (what: Change) => void) { this.listeners.push(listener); }
    changed(what: Change) { this.listeners.forEach((listener) => listener(what)); }

    open(i: number) {
        this.composition = this.scene.composition(i);
        this.selected = this.hovered = this.transition = this.remark = -1;
        this.matches = null;
        this.scroll = 0;
        this.playhead = this.composition.begin;
        this.changed('composition');
    }
}

export type Change = 'composition' | 'span' | 'selection' | 'playhead' | 'hover' | 'look' | 'matches' | 'remark';
