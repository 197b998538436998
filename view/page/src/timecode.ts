/** Labels of frame-code modes, as the library writes them. */

export interface Mode {
    name: string;
    /** Of the labels' frame field; 0: frames are counted. */
    fps: number;
    /** Exact frames per second. */
    rate: number;
    /** Labels that most minutes leave out. */
    drop: number;
    /** The label of frame 0, which shows the separators. */
    zero: string;
}

const mostFrames = 2147483647;
const nearly = 0.00001;

/** The whole frame that a time stands for: the nearest within a hair's breadth, else the one it lies in. */
export function frameCount(time: number): number {
    if (!(time > -mostFrames - 1))
        return time <= -mostFrames - 1 ? -mostFrames - 1 : 0;
    if (time >= mostFrames)
        return mostFrames;
    const cut = Math.trunc(time);
    if (cut + 1 - time < nearly)
        return cut + 1;
    return time - (cut - 1) < nearly ? cut - 1 : cut;
}

/** The label that a count would have if none were dropped. */
function withDropped(frames: number, mode: Mode): number {
    if (mode.drop === 0)
        return frames;
    const perMinute = 60 * mode.fps - mode.drop;
    const perTen = 10 * perMinute + mode.drop;
    const tens = Math.floor(frames / perTen);
    const rest = frames - tens * perTen;
    const minutes = rest < mode.drop ? 0 : Math.floor((rest - mode.drop) / perMinute);
    return frames + mode.drop * (9 * tens + minutes);
}

export function label(mode: Mode, time: number): string {
    const count = frameCount(time);
    if (mode.fps === 0)
        return String(count);
    const digits = withDropped(Math.abs(count), mode);
    const seconds = Math.floor(digits / mode.fps);
    const fields = [Math.floor(seconds / 3600), Math.floor(seconds / 60) % 60, seconds % 60, digits % mode.fps];
    const separators = mode.zero.replace(/[0-9]/g, '');
    const text = fields.map((field, i) => (i > 0 ? separators[i - 1] : '') + String(field).padStart(2, '0')).join('');
    return count < 0 ? '-' + text : text;
}

/** The time of a label as people type it: "10:00:05:00", "5:00", "125"; undefined for what is none. */
export function fromLabel(mode: Mode, text: string): number | undefined {
    const sign = text.trim().startsWith('-') ? -1 : 1;
    const fields = text.trim().replace(/^-/, '').split(/[:;+#.]/);
    if (fields.length > 4 || fields.some((field) => !/^\d{1,9}$/.test(field)))
        return undefined;
    if (fields.length === 1 || mode.fps === 0)
        return sign * Number(fields[fields.length - 1]);
    const [hours, minutes, seconds, frames] = [0, 0, 0, 0, ...fields.map(Number)].slice(-4);
    return sign * frameOf(mode, ((hours * 60 + minutes) * 60 + seconds) * mode.fps + frames);
}

/** The frame of a label that is given as if none were dropped; the next label for one that is. */
export function frameOf(mode: Mode, nominal: number): number {
    if (mode.drop === 0)
        return nominal;
    if (nominal < 0)
        return -frameOf(mode, -nominal);
    const perMinute = 60 * mode.fps;
    const minutes = Math.floor(nominal / perMinute);
    const isDropped = nominal - minutes * perMinute < mode.drop && minutes % 10 !== 0;
    const there = isDropped ? minutes * perMinute + mode.drop : nominal;
    return there - mode.drop * (minutes - Math.floor(minutes / 10));
}
