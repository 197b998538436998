/** Finds segments by what they are called: name, reel or id. Each different text is looked at once. */

import { View } from './view';

export function find(view: View, words: string) {
    const { composition, scene } = view;
    const wanted = words.trim().toLocaleLowerCase();
    if (wanted === '') {
        view.matches = null;
    } else {
        const { texts } = scene;
        const holds = Uint8Array.from({ length: texts.count }, (_, id) => texts.at(id).toLocaleLowerCase().includes(wanted) ? 1 : 0);
        view.matches = new Uint8Array(composition.count);
        for (let i = 0; i < composition.count; ++i)
            view.matches[i] = holds[composition.nameId[i]] | holds[composition.reelId[i]] | holds[composition.idId[i]];
    }
    view.changed('matches');
}

export const count = (view: View): number => view.matches?.reduce((sum, match) => sum + match, 0) ?? 0;

/** The match behind the selection, or in front of it; all around. */
export function step(view: View, by: 1 | -1): number {
    const n = view.composition.count;
    let i = view.selected < 0 && by < 0 ? 0 : view.selected;
    for (let k = 0; k < n; ++k) {
        i = (i + by + n) % n;
        if (view.matches?.[i])
            return i;
    }
    return -1;
}
