/** The page: reads the scene, and ties keys, pointer and panels to the view. */

import { select } from 'd3-selection';
import { zoom, zoomIdentity, type D3ZoomEvent } from 'd3-zoom';
import { Boxes, boxesOf } from './layout';
import { Minimap } from './minimap';
import { Layers, paint, signOf, Words } from './paint';
import {
    copy, element, everything, markSentence, placeLabel, recordLabel, remarkText, sentence, showPlaying, showRemarks, showSelection, showTable, transitionSentence,
} from './panels';
import { Scene, Texts, type Written_ } from './scene';
import { count, find, step } from './search';
import { fromLabel, label } from './timecode';
import { View } from './view';
import { watch } from './watch';

const byId = <T extends HTMLElement>(id: string) => document.getElementById(id) as T;

const data = (id: string) => byId(id)?.textContent ?? '';
const written = JSON.parse(data('scene')) as Written_;
const texts = new Texts(written.texts);
const scene = new Scene(written, texts, () => document.readyState === 'loading' ? undefined : JSON.parse(data('properties')));
scene.notes.forEach((note) => byId('notes').append(element('li', '', note)));
byId('name').textContent = scene.title;
document.body.classList.toggle('empty', scene.count === 0);
const named = scene.count > 0 ? start(new View(scene)) : () => {};
document.addEventListener('DOMContentLoaded', () => {
    texts.arrived(data('texts'));
    named();
});
if (written.watch)
    watch(written.watch, byId('status'));

/** Shows the picture. What it returns is to be called when the texts are here, which stand behind this script. */
function start(view: View): () => void {
    const stage = byId<HTMLCanvasElement>('stage');
    const map = byId<HTMLCanvasElement>('map');
    const search = byId<HTMLInputElement>('search');
    const time = byId<HTMLInputElement>('time');
    const context = stage.getContext('2d', { alpha: false })!;
    const words = new Words();
    const layers = new Layers(scene.look.tints.length);
    const minimap = new Minimap(map, view);
    let frame = 0;
    const draw = () => {
        cancelAnimationFrame(frame);
        frame = 0;
        paint(context, view, words, layers);
        minimap.paint();
    };
    const soon = () => { frame ||= requestAnimationFrame(draw); };

    // Zoom and pan: the transform is d3's, the rows' scroll is ours.

    const zooming = zoom<HTMLCanvasElement, unknown>()
        .filter((event: Event) => !(event instanceof MouseEvent && event.type !== 'wheel' && event.button !== 0))
        .clickDistance(4)
        .on('zoom', (event: D3ZoomEvent<HTMLCanvasElement, unknown>) => {
            if (event.sourceEvent instanceof MouseEvent && event.sourceEvent.type === 'mousemove')
                scrollBy(-event.sourceEvent.movementY);
            view.transform = event.transform;
            view.changed('span');
        });
    const surface = select(stage);
    surface.call(zooming).on('dblclick.zoom', null);
    const { header } = view.sizes;
    const go = (transform: typeof view.transform) => surface.call(zooming.transform, transform);
    const panTo = (from: number) => go(view.transformFor(from, from + view.span().out - view.span().in));
    const zoomBy = (by: number) => surface.call(zooming.scaleBy, by, [Math.min(Math.max(view.x(view.playhead) - header, 0), view.lane), 0]);
    const fit = () => go(view.transformFor(view.composition.begin, view.composition.end));

    function scrollBy(pixels: number) {
        view.scroll = Math.min(Math.max(view.scroll + pixels, 0), view.mostScroll);
        soon();
    }
    stage.addEventListener('wheel', (event) => {
        const sideways = event.shiftKey ? event.deltaY : event.deltaX;
        const overNames = event.offsetX < header;
        if (!overNames && Math.abs(sideways) <= Math.abs(event.deltaY) && !event.shiftKey)
            return;
        event.preventDefault();
        event.stopImmediatePropagation();
        if (overNames)
            scrollBy(event.deltaY);
        else
            panTo(view.span().in + sideways * (view.span().out - view.span().in) / view.lane);
    }, { capture: true, passive: false });

    /** The window has another size, or another resolution. */
    function size() {
        const ratio = Math.min(window.devicePixelRatio || 1, 2);
        const box = byId('frame').getBoundingClientRect();
        const strip = map.getBoundingClientRect();
        const fits = (canvas: HTMLCanvasElement, width: number, height: number) => canvas.width === width && canvas.height === height;
        const [width, height] = [Math.max(box.width, 200), Math.max(box.height, 80)];
        const [mapWidth, mapHeight] = [strip.width, strip.height].map((side) => Math.max(Math.round(side), 2));
        if (fits(stage, Math.round(width * ratio), Math.round(height * ratio)) && fits(map, mapWidth, mapHeight))
            return;
        const span = view.span();
        view.width = width;
        view.height = height;
        stage.width = Math.round(width * ratio);
        stage.height = Math.round(height * ratio);
        context.setTransform(ratio, 0, 0, ratio, 0, 0);
        map.width = mapWidth;
        map.height = mapHeight;
        limitZoom();
        go(view.transformFor(span.in, span.out));
        redraw();
    }
    /** d3 measures the canvas; the time line is what lies behind the names. */
    function limitZoom() {
        zooming.extent([[0, 0], [view.lane, view.height]]).scaleExtent([view.least, view.most])
            .translateExtent([[-view.lane * 0.5, -Infinity], [view.lane * 1.5, Infinity]]);
    }
    function redraw() {
        minimap.redraw();
        draw();
    }

    // What is chosen

    function rowAt(y: number): number {
        const at = y - view.top + view.scroll;
        return y < view.top ? -1 : view.composition.rows.findIndex((row) => at >= row.top && at < row.top + row.height);
    }
    function segmentAt(x: number, y: number): number {
        const row = view.composition.rows[rowAt(y)];
        if (!row || x < header)
            return -1;
        const { at, size } = boxesOf(view.composition, row, view.span(), view.sizes, layers.boxes);
        for (let b = 0; b < size; b += 4)
            if (x - header >= at[b] && x - header < at[b + 1])
                return at[b + 3] === 1 ? at[b + 2] : Math.max(view.composition.atPlace(row, view.time(x)), at[b + 2]);
        return -1;
    }
    /** The transition under the pointer, where it is wide enough to be seen. */
    function transitionAt(x: number, y: number): number {
        const row = view.composition.rows[rowAt(y)];
        if (!row || x < header)
            return -1;
        const t = view.composition.transitionAt(row, view.composition.axisOf(row).recordAt(view.time(x)));
        return t >= 0 && view.composition.transitions[t].length * view.lane >= 3 * (view.span().out - view.span().in) ? t : -1;
    }
    function markAt(x: number, y: number): number {
        const { marks } = view.composition;
        if (y < view.sizes.ruler || y >= view.top || x < header)
            return -1;
        const axis = view.composition.axisOf(undefined);
        return marks.findLastIndex(({ time, length }) => x >= view.x(axis.placeOfIn(time)) - 2 && x <= Math.max(view.x(axis.placeOfOut(time + length)), view.x(axis.placeOfIn(time)) + 9));
    }
    /** The sign under the pointer; -1 for none. */
    function remarkAt(x: number, y: number): number {
        return view.composition.remarks.findIndex((remark) => {
            const [signX, signY] = signOf(view, remark);
            return Math.abs(x - signX) <= 8 && y <= signY + 1 && y >= signY - 14;
        });
    }
    function revealRow(at: number) {
        const row = view.composition.rows[at];
        const y = view.top + row.top - view.scroll;
        if (y < view.top)
            scrollBy(y - view.top);
        else if (y + row.height > view.height)
            scrollBy(y + row.height - view.height + 6);
    }
    function choose(i: number, reveal = true) {
        view.selected = i;
        view.transition = -1;
        if (i >= 0) {
            const { rowOf } = view.composition;
            const start = view.composition.placeOfIn(i);
            const span = view.span();
            view.playhead = start;
            if (reveal) {
                revealRow(rowOf[i]);
                if (start < span.in || start >= span.out)
                    panTo(start - (span.out - span.in) / 4);
            }
        }
        view.changed('selection');
    }
    function movePlayhead(to: number) {
        view.playhead = to;
        const span = view.span();
        if (to < span.in || to > span.out)
            panTo(to - (span.out - span.in) / 2);
        view.changed('playhead');
    }
    function chooseTransition(t: number) {
        const transition = view.composition.transitions[t];
        view.selected = -1;
        view.transition = t;
        revealRow(transition.row);
        movePlayhead(view.composition.axisOf(view.composition.rows[transition.row]).placeOfIn(transition.in));
        view.changed('selection');
    }
    /** Of the row of what is selected, else of the first that has some. */
    function nextTransition(by: 1 | -1) {
        const { composition, selected, transition } = view;
        const row = transition >= 0 ? composition.rows[composition.transitions[transition].row]
            : selected >= 0 ? composition.row(selected) : composition.rows.find((one) => one.lastTransition > one.firstTransition);
        if (!row)
            return;
        const time = composition.axisOf(row).recordAt(view.playhead);
        let t = row.firstTransition;
        while (t < row.lastTransition && (by > 0 ? composition.transitions[t].in <= time - (transition < 0 ? 1e-5 : 0) : composition.transitions[t].in < time))
            ++t;
        if (by < 0)
            --t;
        if (t >= row.firstTransition && t < row.lastTransition)
            chooseTransition(t);
    }
    function goToMark(k: number) {
        const mark = view.composition.marks[k];
        if (!mark)
            return;
        movePlayhead(view.composition.axisOf(undefined).placeOfIn(mark.time));
        byId('status').textContent = markSentence(view, mark);
    }
    function nextMark(by: 1 | -1) {
        const { marks } = view.composition;
        const time = view.composition.axisOf(undefined).recordAt(view.playhead);
        goToMark(by > 0 ? marks.findIndex((mark) => mark.time > time + 1e-5) : marks.findLastIndex((mark) => mark.time < time - 1e-5));
    }
    function openContainer(i: number) {
        const inside = i < 0 ? undefined : view.composition.opens(i);
        if (inside !== undefined && view.way.length < 200) {
            view.way.push(inside);
            view.open(inside);
        }
    }
    function back() {
        if (view.way.length > 1) {
            view.way.pop();
            view.open(view.way[view.way.length - 1]);
        }
    }
    function goToRemark(k: number) {
        const { remarks } = view.composition;
        if (remarks.length === 0)
            return;
        view.remark = (k + remarks.length) % remarks.length;
        const remark = remarks[view.remark];
        view.selected = remark.segment;
        view.transition = -1;
        movePlayhead(view.composition.axisOf(view.composition.rows[remark.row]).placeOfIn(remark.time));
        if (remark.row >= 0)
            revealRow(remark.row);
        view.changed('selection');
        view.changed('remark');
        byId('status').textContent = remarkText(remark);
    }
    const nextRemark = (by: 1 | -1) => goToRemark(view.remark < 0 ? (by > 0 ? 0 : -1) : view.remark + by);
    function goToMatch(by: 1 | -1) {
        const i = step(view, by);
        if (i >= 0)
            choose(i);
    }

    // Pointer

    let onRuler = false;
    stage.addEventListener('pointerdown', (event) => {
        onRuler = event.offsetY < view.sizes.ruler && event.offsetX >= header;
        if (onRuler) {
            stage.setPointerCapture(event.pointerId);
            movePlayhead(Math.round(view.time(event.offsetX)));
        }
    });
    stage.addEventListener('mousedown', (event) => { if (onRuler) event.stopImmediatePropagation(); }, true);
    stage.addEventListener('pointermove', (event) => {
        if (onRuler && event.buttons !== 0) {
            view.playhead = Math.round(view.time(event.offsetX));
            view.changed('playhead');
            return;
        }
        const sign = remarkAt(event.offsetX, event.offsetY);
        if (sign >= 0)
            byId('status').textContent = remarkText(view.composition.remarks[sign]);
        const t = sign >= 0 ? -1 : transitionAt(event.offsetX, event.offsetY);
        const over = sign >= 0 || t >= 0 ? -1 : segmentAt(event.offsetX, event.offsetY);
        if (over !== view.hovered) {
            view.hovered = over;
            stage.title = over < 0 ? '' : everything(view, over);
            view.changed('hover');
        }
        const mark = view.composition.marks[markAt(event.offsetX, event.offsetY)];
        if (t >= 0 || mark)
            byId('status').textContent = mark ? markSentence(view, mark) : transitionSentence(view, t);
    });
    stage.addEventListener('touchstart', (event) => { if (onRuler) event.stopImmediatePropagation(); }, { capture: true, passive: true });
    stage.addEventListener('pointerleave', () => { view.hovered = -1; view.changed('hover'); });
    stage.addEventListener('pointerup', () => { onRuler = false; });
    stage.addEventListener('click', (event) => {
        const sign = remarkAt(event.offsetX, event.offsetY);
        if (sign >= 0)
            goToRemark(sign);
        else if (markAt(event.offsetX, event.offsetY) >= 0)
            goToMark(markAt(event.offsetX, event.offsetY));
        else if (transitionAt(event.offsetX, event.offsetY) >= 0)
            chooseTransition(transitionAt(event.offsetX, event.offsetY));
        else if (event.offsetY >= view.sizes.ruler)
            choose(segmentAt(event.offsetX, event.offsetY), false);
    });
    stage.addEventListener('dblclick', (event) => openContainer(segmentAt(event.offsetX, event.offsetY)));
    const dragMap = (event: PointerEvent) => {
        const { in: from, out: to } = view.span();
        panTo(minimap.time(event.clientX) - (to - from) / 2);
    };
    map.addEventListener('pointerdown', (event) => { map.setPointerCapture(event.pointerId); dragMap(event); });
    map.addEventListener('pointermove', (event) => { if (event.buttons !== 0) dragMap(event); });

    // Keys and buttons

    function nextInRow(by: 1 | -1) {
        const { composition, selected } = view;
        const row = composition.rows[selected < 0 ? 0 : composition.rowOf[selected]];
        if (!row || row.first === row.last)
            return;
        if (selected < 0)
            choose(row.first);
        else if (selected + by >= row.first && selected + by < row.last)
            choose(selected + by);
    }
    function nextRow(by: 1 | -1) {
        const { composition } = view;
        for (let k = (view.selected < 0 ? -1 : composition.rowOf[view.selected]) + by; k >= 0 && k < composition.rows.length; k += by) {
            const row = composition.rows[k];
            if (row.first < row.last)
                return choose(Math.min(Math.max(composition.atPlace(row, view.playhead), row.first), row.last - 1));
        }
    }
    const toggle = (id: string, on: boolean) => byId(id).setAttribute('aria-pressed', String(on));
    const second = () => view.composition.mode.fps || 25;
    const keys: Record<string, (event: KeyboardEvent) => void> = {
        ArrowLeft: () => nextInRow(-1), ArrowRight: () => nextInRow(1), ArrowUp: () => nextRow(-1), ArrowDown: () => nextRow(1),
        Home: () => view.selected >= 0 && choose(view.composition.rows[view.composition.rowOf[view.selected]].first),
        End: () => view.selected >= 0 && choose(view.composition.rows[view.composition.rowOf[view.selected]].last - 1),
        '+': () => zoomBy(1.5), '=': () => zoomBy(1.5), '-': () => zoomBy(1 / 1.5), f: fit,
        a: () => panTo(view.span().in - (view.span().out - view.span().in) / 4),
        s: () => panTo(view.span().in + (view.span().out - view.span().in) / 4),
        ',': () => movePlayhead(view.playhead - 1), '.': () => movePlayhead(view.playhead + 1),
        '<': () => movePlayhead(view.playhead - second()), '>': () => movePlayhead(view.playhead + second()),
        Enter: () => openContainer(view.selected), Backspace: back,
        Escape: () => choose(-1),
        n: () => nextRemark(1), N: () => nextRemark(-1),
        t: () => nextTransition(1), T: () => nextTransition(-1), m: () => nextMark(1), M: () => nextMark(-1),
        c: () => byId('curves').click(), d: () => byId('theme').click(),
        l: () => { copy(placeLabel(view, view.playhead)); byId('status').textContent = `Copied ${placeLabel(view, view.playhead)}`; },
        u: () => view.composition.hasFolds && byId('unfold').click(),
    };
    stage.addEventListener('keydown', (event) => {
        const act = event.ctrlKey || event.metaKey || event.altKey ? undefined : keys[event.key] ?? keys[event.key.toLowerCase()];
        if (act) {
            event.preventDefault();
            act(event);
        }
    });
    document.addEventListener('keydown', (event) => {
        if (event.target instanceof HTMLInputElement || event.ctrlKey || event.metaKey || event.altKey)
            return;
        if (event.key === '/') {
            event.preventDefault();
            search.focus();
        } else if (event.key === '?') {
            event.preventDefault();
            byId<HTMLDialogElement>('keys').showModal();
        }
    });
    byId('in').addEventListener('click', () => zoomBy(1.5));
    byId('out').addEventListener('click', () => zoomBy(1 / 1.5));
    byId('fit').addEventListener('click', fit);
    byId('help').addEventListener('click', () => byId<HTMLDialogElement>('keys').showModal());
    byId('curves').addEventListener('click', () => {
        view.showCurves = !view.showCurves;
        toggle('curves', view.showCurves);
        view.changed('look');
    });
    byId('theme').addEventListener('click', () => {
        view.isDark = !view.isDark;
        document.documentElement.className = view.isDark ? 'dark' : 'light';
        view.changed('look');
    });
    byId('unfold').addEventListener('click', () => {
        const isFolded = view.composition.folds.length > 0;
        const seen = view.composition.axisOf(undefined).recordAt(view.playhead);
        view.composition.fold(!isFolded);
        toggle('unfold', isFolded);
        view.playhead = view.composition.axisOf(undefined).placeOfIn(seen);
        limitZoom();
        fit();
        minimap.redraw();
        view.changed('playhead');
    });
    byId('finder').addEventListener('submit', (event) => { event.preventDefault(); goToMatch(1); });
    byId('previous').addEventListener('click', () => goToMatch(-1));
    byId('faultNext').addEventListener('click', () => nextRemark(1));
    byId('faultBack').addEventListener('click', () => nextRemark(-1));
    search.addEventListener('input', () => find(view, search.value));
    search.addEventListener('keydown', (event) => {
        if (event.key === 'Enter' && event.shiftKey) {
            event.preventDefault();
            goToMatch(-1);
        } else if (event.key === 'Escape')
            stage.focus();
    });
    byId('goto').addEventListener('submit', (event) => {
        event.preventDefault();
        const typed = fromLabel(view.composition.mode, time.value);
        time.setAttribute('aria-invalid', String(typed === undefined));
        if (typed !== undefined)
            movePlayhead(view.composition.axisOf(undefined).placeOfIn(typed - view.composition.labelStart));
    });

    const picker = byId<HTMLSelectElement>('composition');
    picker.hidden = scene.tops < 2;
    picker.addEventListener('change', () => { view.way.splice(0, view.way.length, Number(picker.value)); view.open(view.way[0]); });

    // What follows a change

    const tell = () => {
        const i = view.hovered >= 0 ? view.hovered : view.selected;
        byId('status').textContent = i >= 0 ? sentence(view, i) : view.transition >= 0 ? transitionSentence(view, view.transition) : '';
    };
    const heads = () => {
        const { composition } = view;
        const clips = composition.kind.reduce((sum, kind) => sum + (kind === 3 ? 0 : 1), 0);
        byId('name').textContent = composition.name || scene.title;
        byId('summary').textContent = composition.isCompared ? `${composition.mode.name} \u00b7 ${scene.subtitle}`
            : `${composition.mode.name} \u00b7 ${recordLabel(view, composition.begin)} - ${recordLabel(view, composition.end)} \u00b7 ${clips} segments`;
        const what = scene.isCompared ? 'change' : 'finding';
        byId('remarksHead').textContent = scene.isCompared ? 'Changes' : 'Findings';
        byId('faultBack').textContent = `Previous ${what}`;
        byId('faultNext').textContent = `Next ${what}`;
        byId('unfold').hidden = !composition.hasFolds;
        toggle('unfold', false);
        composition.fold(true);
        byId('legend').replaceChildren(...(scene.isCompared ? scene.look.changes : [])
            .filter(([tint]) => composition.remarks.some((remark) => remark.tint === tint))
            .map(([tint, word]) => element('li', `chip tint${tint}`, word)));
        const { remarks } = composition;
        byId('faults').hidden = byId('remarksPart').hidden = remarks.length === 0;
        byId('way').replaceChildren(...(view.way.length < 2 ? [] : view.way.map((at, depth) => {
            const button = element('button', '', scene.nameOf(at) || 'untitled');
            button.addEventListener('click', () => { view.way.splice(depth + 1); view.open(at); });
            return button;
        })));
    };
    view.on((what) => {
        if (what === 'composition') {
            heads();
            view.transform = zoomIdentity;
            find(view, search.value);
            limitZoom();
            fit();
            minimap.redraw();
        }
        if (what === 'composition' || what === 'selection') {
            showSelection(view, byId('chosen'));
            showTable(view, byId('listing'));
        }
        if (what === 'composition' || what === 'selection' || what === 'playhead')
            showPlaying(view, byId('plays'), time, what === 'composition');
        if (what === 'selection' || what === 'hover')
            tell();
        if (what === 'composition' || what === 'remark') {
            const { remarks } = view.composition;
            showRemarks(view, byId('remarks'), goToRemark);
            const what = scene.isCompared ? 'change' : 'finding';
            byId('fault').textContent = view.remark < 0 ? `${remarks.length} ${what}${remarks.length === 1 ? '' : 's'}`
                : `${view.remark + 1} of ${remarks.length}: ${remarkText(remarks[view.remark])}`;
        }
        if (what === 'matches')
            byId('found').textContent = view.matches ? `${count(view)} found` : '';
        if (what === 'look')
            minimap.redraw();
        soon();
    });

    // Colours of the library, for what is no canvas.
    const colours = new CSSStyleSheet();
    colours.replaceSync(scene.look.tints.map(([, , edge], i) => `.tint${i} { border-left-color: ${edge}; }`).join('\n'));
    document.adoptedStyleSheets = [colours];

    const dark = window.matchMedia('(prefers-color-scheme: dark)');
    /** What was asked for, else what the reader's system is. */
    const isDark = () => document.documentElement.className === '' ? dark.matches : document.documentElement.className === 'dark';
    view.isDark = isDark();
    dark.addEventListener('change', () => {
        view.isDark = isDark();
        view.changed('look');
    });
    window.addEventListener('beforeprint', () => { view.isDark = false; size(); redraw(); });
    window.addEventListener('afterprint', () => { view.isDark = isDark(); size(); redraw(); });
    new ResizeObserver(size).observe(byId('frame'));
    size();
    view.changed('composition');
    draw();
    performance.mark('picture');

    // For those who test it.
    Object.assign(window, { dmtreeView: {
        view, label,
        boxes: (row: number) => {
            const { at, size } = boxesOf(view.composition, view.composition.rows[row], view.span(), view.sizes, new Boxes());
            return Array.from(at.subarray(0, size));
        },
        show: (from: number, to: number) => { go(view.transformFor(from, to)); draw(); },
        sign: (k: number) => signOf(view, view.composition.remarks[k]),
        draw, choose,
    } });

    return () => {
        for (let i = 0; i < scene.tops; ++i)
            picker.append(new Option(scene.nameOf(i), String(i)));
        view.changed('composition');
        draw();
        performance.mark('named');
    };
}
