/** Where record times are drawn, when that is not simply in step (the library's Axis). */

export class Axis {
    readonly record: number[] = [];
    readonly place: number[] = [];

    /** Knots: record time and place, one behind the other. */
    constructor(readonly slope = 1, knots: readonly number[] = []) {
        for (let i = 0; i + 1 < knots.length; i += 2) {
            this.record.push(knots[i]);
            this.place.push(knots[i + 1]);
        }
    }

    /** Of what begins at a record time: behind a hole. */
    placeOfIn(record: number): number {
        return this.record.length === 0 ? record : this.at(this.record, this.place, countUpTo(this.record, record, true), record, this.slope);
    }

    /** Of what ends there: in front of it. */
    placeOfOut(record: number): number {
        return this.record.length === 0 ? record : this.at(this.record, this.place, countUpTo(this.record, record, false), record, this.slope);
    }

    recordAt(place: number): number {
        return this.record.length === 0 ? place : this.at(this.place, this.record, countUpTo(this.place, place, true), place, 1 / this.slope);
    }

    isHole(place: number): boolean {
        const behind = countUpTo(this.place, place, true);
        return behind > 0 && behind < this.place.length && this.record[behind - 1] === this.record[behind];
    }

    private at(from: number[], to: number[], behind: number, value: number, slope: number): number {
        if (behind === 0)
            return to[0] + (value - from[0]) * slope;
        const front = behind - 1;
        const here = behind === from.length ? slope : (to[behind] - to[front]) / (from[behind] - from[front]);
        return to[front] + (value - from[front]) * here;
    }
}

/** How many of ascending values are less than one, or equal to it. */
function countUpTo(values: number[], value: number, orEqual: boolean): number {
    let low = 0;
    let high = values.length;
    while (low < high) {
        const middle = (low + high) >> 1;
        if (values[middle] < value || (orEqual && values[middle] === value))
            low = middle + 1;
        else
            high = middle;
    }
    return low;
}
