/** All of the composition in a strip, and the stretch that is seen. */

import { Boxes, boxesOf } from './layout';
import { View } from './view';

export class Minimap {
    private readonly strip = document.createElement('canvas');

    constructor(private readonly canvas: HTMLCanvasElement, private readonly view: View) {}

    /** The composition has changed, or its colours, or the strip's size. */
    redraw() {
        const { view, canvas, strip } = this;
        const { composition, theme, scene } = view;
        strip.width = canvas.width;
        strip.height = canvas.height;
        const context = strip.getContext('2d');
        if (!context || strip.width < 2)
            return;
        context.fillStyle = theme.panel;
        context.fillRect(0, 0, strip.width, strip.height);
        const down = (strip.height - 6) / composition.height;
        const boxes = new Boxes();
        const span = { in: composition.begin, out: composition.end, width: strip.width };
        for (const row of composition.rows) {
            boxesOf(composition, row, span, view.sizes, boxes);
            for (let b = 0; b < boxes.size; b += 4) {
                const [left, right, i, segments] = boxes.at.subarray(b, b + 4);
                if (composition.kind[i] === 3)
                    continue;
                context.fillStyle = segments > 1 ? theme.dense : scene.look.tints[composition.tint[i]][2];
                context.fillRect(left, 3 + row.top * down, Math.max(right - left - 1, 1), Math.max(row.height * down, 1));
            }
        }
        this.paint();
    }

    paint() {
        const { view, canvas, strip } = this;
        const context = canvas.getContext('2d');
        if (!context || strip.width < 2)
            return;
        context.drawImage(strip, 0, 0);
        const span = view.span();
        const all = view.composition.end - view.composition.begin;
        const x = (time: number) => (time - view.composition.begin) / all * canvas.width;
        context.fillStyle = view.isDark ? '#ffffff26' : '#1d5fc426';
        context.fillRect(x(span.in), 0, Math.max(x(span.out) - x(span.in), 3), canvas.height);
        context.strokeStyle = view.isDark ? '#7fb0ff' : '#1d5fc4';
        context.lineWidth = 2;
        context.strokeRect(x(span.in) + 1, 1, Math.max(x(span.out) - x(span.in) - 2, 2), canvas.height - 2);
        context.fillStyle = view.theme.fault;
        context.fillRect(x(view.playhead), 0, 1.5, canvas.height);
    }

    time(clientX: number): number {
        const box = this.canvas.getBoundingClientRect();
        const { begin, end } = this.view.composition;
        return begin + (clientX - box.left) / box.width * (end - begin);
    }
}
