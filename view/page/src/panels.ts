/** What stands beside the picture, as text: what plays at the playhead, and all that is known of the selection. */

import { badgeOf, drawCurve, isolated, sourceLine } from './paint';
import { flag, kinds, snapped, type Effect, type Mark, type Property, type Remark, type Row, type Transition } from './scene';
import { label } from './timecode';
import { View } from './view';

export function element<K extends keyof HTMLElementTagNameMap>(name: K, className: string, text = ''): HTMLElementTagNameMap[K] {
    const made = document.createElement(name);
    if (className !== '')
        made.className = className;
    if (text !== '')
        made.textContent = text;
    return made;
}

/** What is no more than a line or two, beside other things. */
const shortened = (text: string) => text.length > 80 ? `${Array.from(text.slice(0, 160)).slice(0, 80).join('')}\u2026` : text;

/** Of a record time of a row; of none, of the composition. */
export const recordLabel = ({ composition }: View, time: number, row?: Row) =>
    label(composition.modeOf(row), time + composition.labelStartOf(row));
/** Of a place, on the ruler. */
export const placeLabel = (view: View, place: number) => recordLabel(view, view.composition.axisOf(undefined).recordAt(place));
/** Where a segment begins and ends, as labels. */
const inLabel = (view: View, i: number) => recordLabel(view, view.composition.start[i], view.composition.row(i));
const outLabel = (view: View, i: number) => recordLabel(view, view.composition.out(i), view.composition.row(i));

/** "orchard dawn, A001C002 · 10:00:41:22", of what a row plays at a time. */
function playing(view: View, row: Row, place: number): string {
    const { composition } = view;
    const axis = composition.axisOf(row);
    if (axis.isHole(place))
        return '';
    const time = snapped(axis.recordAt(place));
    const one = (i: number) => {
        const source = composition.kind[i] === 1 ? undefined : composition.sourceFrame(i, time);
        const at = source ? `${source.rough ? 'about ' : ''}${label(source.mode, source.frame)}` : '';
        return [isolated(shortened(composition.nameOf(i))), [isolated(shortened(composition.reelOf(i))), at].filter((part) => part !== '').join(' \u00b7 ')]
            .filter((part) => part !== '').join('\n');
    };
    const t = composition.transitionAt(row, time);
    if (t >= 0) {
        const transition = composition.transitions[t];
        return `${isolated(view.scene.texts.at(transition.name))}\n${composition.beside(transition).filter((i) => i >= 0).map(one).join('\nto ')}`;
    }
    const i = composition.at(row, time);
    return i < 0 || composition.kind[i] === 3 ? '' : one(i);
}

/** The lines of a composition are made once, and then say what plays now. */
export function showPlaying(view: View, list: HTMLElement, time: HTMLInputElement, isNew: boolean) {
    const { rows } = view.composition;
    if (document.activeElement !== time)
        time.value = placeLabel(view, view.playhead);
    if (isNew)
        list.replaceChildren(...rows.flatMap((row) => [element('dt', '', row.name), element('dd', 'code')]));
    rows.forEach((row, index) => {
        const line = list.children[2 * index + 1];
        const text = playing(view, row, view.playhead) || '\u2013';
        if (line.textContent !== text)
            line.textContent = text;
    });
}

/** What is longer, as the notes of another program, opens on request. */
const longText = 240;
const mostMarks = 300;
const mostLines = 30;

function folded(text: string): HTMLElement {
    const made = element('dd', '');
    const details = element('details', '');
    details.append(element('summary', '', `${text.slice(0, 40)}\u2026`), element('div', '', text));
    made.append(details);
    return made;
}

/** A path may break where a step ends. */
function pathElement(name: string): HTMLElement {
    const made = element('dt', '');
    name.split('/').forEach((step, i) => made.append(...(i === 0 ? [step] : ['/', document.createElement('wbr'), step])));
    return made;
}

function pairs(list: readonly Property[]): HTMLElement {
    const made = element('dl', '');
    for (const [name, value] of list)
        made.append(pathElement(name), value.length > longText ? folded(value) : element('dd', '', value));
    return made;
}

function copyable(list: HTMLElement, name: string, text: string) {
    const value = element('dd', 'code');
    const button = element('button', 'copy', 'Copy');
    button.setAttribute('aria-label', `Copy ${name} ${text}`);
    button.addEventListener('click', () => copy(text));
    value.append(text, button);
    list.append(element('dt', '', name), value);
}

/** From a page on disk too, where the clipboard may be out of reach. */
export function copy(text: string) {
    const byHand = () => {
        const area = element('textarea', 'hidden');
        area.value = text;
        document.body.append(area);
        area.select();
        document.execCommand('copy');
        area.remove();
    };
    if (navigator.clipboard)
        navigator.clipboard.writeText(text).catch(byHand);
    else
        byHand();
}

function effectParts(view: View, effect: Effect): HTMLElement[] {
    return [element('h3', effect.muted ? 'muted' : '', effect.name), pairs(effect.properties), ...effect.curves.flatMap((curve) =>
        [element('div', '', `${curve.name}, ${curve.keys.length} keys`), curvePicture(view, curve.keys, curve.name)])];
}

/** With the time as a label that can be copied. */
function markList({ scene: { texts } }: View, marks: readonly Mark[], labelAt: (mark: Mark) => string): HTMLElement {
    const list = element('dl', '');
    for (const mark of marks.slice(0, mostMarks))
        copyable(list, [mark.name, mark.comment].filter((part) => part !== 0).map((part) => texts.at(part)).join(': ') || 'Mark', labelAt(mark));
    if (marks.length > mostMarks)
        list.append(element('dt', 'beyond', `${marks.length - mostMarks} more`));
    return list;
}

function showTransition(view: View, box: HTMLElement, transition: Transition) {
    const { composition, scene } = view;
    const row = composition.rows[transition.row];
    const list = element('dl', '');
    const add = (name: string, text: string) => text !== '' && list.append(element('dt', '', name), element('dd', '', text));
    const [front, behind] = composition.beside(transition);
    add('Name', scene.texts.at(transition.name));
    add('Kind', `transition${transition.muted ? ', muted' : ''}`);
    add('Layer', row.name);
    copyable(list, 'In', recordLabel(view, transition.in, row));
    copyable(list, 'Out', recordLabel(view, transition.in + transition.length, row));
    add('Length', label(composition.modeOf(row), transition.length));
    add('From', front < 0 ? '' : composition.nameOf(front));
    add('To', behind < 0 ? '' : composition.nameOf(behind));
    box.append(list, ...transition.effects.flatMap((effect) => effectParts(view, scene.effect(effect))));
    const properties = scene.pairs(transition.properties);
    if (properties.length > 0)
        box.append(element('h3', '', 'Properties'), pairs(properties));
}

export function showSelection(view: View, box: HTMLElement) {
    const { composition, selected } = view;
    box.replaceChildren();
    if (view.transition >= 0)
        return showTransition(view, box, composition.transitions[view.transition]);
    if (selected < 0) {
        box.append(element('p', '', 'Nothing is selected. A click selects; so do the arrow keys.'));
        box.append(element('h3', '', 'Composition'), pairs(composition.properties));
        if (composition.marks.length > 0)
            box.append(element('h3', '', 'Marks'), markList(view, composition.marks, (mark) => recordLabel(view, mark.time)));
        return;
    }
    const row = composition.rows[composition.rowOf[selected]];
    const list = element('dl', '');
    const add = (name: string, text: string) => text !== '' && list.append(element('dt', '', name), element('dd', '', text));
    add('Name', composition.nameOf(selected));
    add('Kind', kinds[composition.kind[selected]] + (composition.has(selected, flag.muted) ? ', muted' : ''));
    add('Layer', row.name);
    copyable(list, 'In', inLabel(view, selected));
    copyable(list, 'Out', outLabel(view, selected));
    add('Length', label(composition.modeOf(row), composition.length[selected]));
    const other = composition.counterpart(selected);
    if (other >= 0)
        add(composition.row(other).name, `${inLabel(view, other)} - ${outLabel(view, other)}`);
    add('Reel', composition.reelOf(selected));
    const source = composition.sourceFrame(selected, composition.start[selected]);
    if (source && composition.kind[selected] !== 1)
        copyable(list, 'Source in', label(source.mode, source.frame));
    add('Speed', badgeOf(view, selected).replace(/ *fx/, ''));
    add('Id', composition.idOf(selected));
    if (composition.has(selected, flag.overlaps))
        add('Note', 'Begins before the one in front of it has ended.');
    if (composition.has(selected, flag.noTime))
        add('Note', 'Its times cannot be drawn: it stands behind what is in front of it.');
    box.append(list);
    for (const effect of composition.effectsOf(selected))
        box.append(...effectParts(view, effect));
    const remarks = composition.remarks.filter((remark) => remark.segment === selected);
    if (remarks.length > 0) {
        const said = element('ul', 'said');
        said.append(...remarks.map((remark) => element('li', '', `${remark.text}${remark.code === '' ? '' : ` [${remark.code}]`}`)));
        list.after(said);
    }
    const marks = composition.marksOf(selected);
    if (marks.length > 0)
        box.append(element('h3', '', 'Marks'), markList(view, marks, (mark) => recordLabel(view, mark.time, row)));
    const properties = composition.propertiesOf(selected);
    if (properties.length > 0)
        box.append(element('h3', '', 'Properties'), pairs(properties));
    box.append(element('h3', '', 'Layer'), pairs(view.scene.pairs(row.layer)), element('h3', '', 'Track'), pairs(view.scene.pairs(row.track)));
}

function curvePicture(view: View, keys: [number, number][], name: string): HTMLElement {
    const canvas = element('canvas', 'curve');
    canvas.width = 600;
    canvas.height = 128;
    canvas.setAttribute('role', 'img');
    canvas.setAttribute('aria-label', `${name}: ` + keys.slice(0, 40).map(([frame, value]) => `${Number(value.toPrecision(4))} at ${frame}`).join(', '));
    const context = canvas.getContext('2d');
    if (context && keys.length > 0) {
        context.scale(2, 2);
        context.strokeStyle = context.fillStyle = view.isDark ? '#7fb0ff' : '#1d5fc4';
        context.lineWidth = 1.5;
        const first = keys[0][0];
        const range = keys[keys.length - 1][0] - first;
        drawCurve(context, keys, (frame) => 6 + (range > 0 ? (frame - first) / range : 0.5) * 288, 0, 64);
    }
    return canvas;
}

/** "crate drop, V1, 10:00:03:00: Only 2 frames are seen [DM301]" */
export const remarkText = ({ code, where, text }: Remark): string =>
    `${where === '' ? '' : `${isolated(where)}: `}${isolated(text)}${code === '' ? '' : ` [${code}]`}`;

/** What is said of the composition, around the one that was gone to. A click goes to its place. */
export function showRemarks(view: View, list: HTMLElement, goTo: (k: number) => void) {
    const most = 300;
    const { remarks } = view.composition;
    const first = Math.max(0, Math.min(view.remark - most / 2, remarks.length - most));
    const beyond = (count: number) => list.append(element('li', 'beyond', `${count} more`));
    list.replaceChildren();
    if (first > 0)
        beyond(first);
    remarks.slice(first, first + most).forEach((remark, at) => {
        const item = element('li', '');
        const button = element('button', `remark tint${remark.tint}`);
        if (remark.where !== '')
            button.append(element('span', 'where', remark.where));
        button.append(element('span', '', remark.text));
        if (remark.code !== '')
            button.append(element('span', 'key', remark.code));
        if (first + at === view.remark)
            button.setAttribute('aria-current', 'true');
        button.addEventListener('click', () => goTo(first + at));
        item.append(button);
        list.append(item);
    });
    if (first + most < remarks.length)
        beyond(remarks.length - first - most);
    const current = list.querySelector('[aria-current]');
    if (current)
        current.scrollIntoView({ block: 'nearest' });
}

/** In a line: what is under the pointer, or chosen. */
export function sentence(view: View, i: number): string {
    const { composition } = view;
    return [composition.rows[composition.rowOf[i]].name, isolated(composition.nameOf(i)),
        composition.kind[i] === 0 ? '' : kinds[composition.kind[i]],
        `${inLabel(view, i)} - ${outLabel(view, i)}`,
        isolated(sourceLine(view, i)), badgeOf(view, i), composition.has(i, flag.muted) ? 'muted' : '']
        .filter((part) => part !== '').join('  ');
}

/** In lines, for what stays when the pointer does: what it is, and the properties that differ from their defaults. */
export function everything(view: View, i: number): string {
    const { composition } = view;
    const effects = composition.effectsOf(i).map(({ name, muted, properties }) =>
        `${name}${muted ? ' (muted)' : ''}: ${properties.slice(0, 8).map(([key, value]) => `${key} ${shortened(value)}`).join(', ')}`);
    const lines = [...sentence(view, i).split('  '), ...effects, ...composition.propertiesOf(i).map(([name, value]) => `${name}: ${isolated(value)}`)];
    return lines.slice(0, mostLines).map(shortened).join('\n');
}

export function transitionSentence(view: View, t: number): string {
    const { composition } = view;
    const transition = composition.transitions[t];
    const row = composition.rows[transition.row];
    const sides = composition.beside(transition).filter((i) => i >= 0).map((i) => isolated(composition.nameOf(i)));
    return [row.name, isolated(view.scene.texts.at(transition.name)), 'transition',
        `${recordLabel(view, transition.in, row)} - ${recordLabel(view, transition.in + transition.length, row)}`,
        sides.join(' to '), transition.muted ? 'muted' : ''].filter((part) => part !== '').join('  ');
}
export const markSentence = (view: View, { name, comment, time, length }: Mark): string =>
    [recordLabel(view, time), length > 0 ? `- ${recordLabel(view, time + length)}` : '', isolated(view.scene.texts.at(name)), isolated(view.scene.texts.at(comment))]
        .filter((part) => part !== '').join('  ');

/** For a screen reader: the segments around the selection, as rows of a table that knows how many there are. */
export function showTable(view: View, box: HTMLElement) {
    const { composition } = view;
    const around = 10;
    const chosen = Math.max(view.selected, 0);
    const table = element('table', '');
    table.setAttribute('aria-rowcount', String(composition.count + 1));
    table.append(element('caption', '', `Segments of ${composition.name}`));
    const head = element('tr', '');
    head.setAttribute('aria-rowindex', '1');
    for (const name of ['Layer', 'Name', 'Kind', 'In', 'Out', 'Source', 'Speed and effects']) {
        const cell = element('th', '', name);
        cell.scope = 'col';
        head.append(cell);
    }
    const top = element('thead', '');
    top.append(head);
    const body = element('tbody', '');
    for (let i = Math.max(chosen - around, 0); i < Math.min(chosen + around + 1, composition.count); ++i) {
        const line = element('tr', '');
        line.setAttribute('aria-rowindex', String(i + 2));
        if (i === view.selected)
            line.setAttribute('aria-current', 'true');
        for (const text of [composition.rows[composition.rowOf[i]].name, composition.nameOf(i), kinds[composition.kind[i]],
            inLabel(view, i), outLabel(view, i), sourceLine(view, i), badgeOf(view, i)])
            line.append(element('td', '', text));
        body.append(line);
    }
    table.append(top, body);
    box.replaceChildren(table);
}
