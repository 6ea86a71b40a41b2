// Places around the listener: x to the front, y to the left, z up, in metres; azimuth counter-clockwise
// (90 is the left) and elevation upwards, in degrees.

export interface Point {
    readonly x: number;
    readonly y: number;
    readonly z: number;
}

export interface Polar {
    readonly azimuth: number;
    readonly elevation: number;
    readonly distance: number;
}

export const RADIANS = Math.PI / 180;

/** Nearer than that is inside the head. */
export const NEAREST = 0.25;
export const FARTHEST = 100;

export function clamp(value: number, low: number, high: number): number {
    return Math.min(high, Math.max(low, value));
}

/** An angle within -180 (left out) and 180. */
export function wrap(angle: number): number {
    const turn = angle - 360 * Math.floor(angle / 360);
    return turn > 180 ? turn - 360 : turn;
}

export function toPolar(p: Point): Polar {
    const level = Math.hypot(p.x, p.y);
    return {
        azimuth: level > 0 ? Math.atan2(p.y, p.x) / RADIANS : 0,
        elevation: level > 0 || p.z !== 0 ? Math.atan2(p.z, level) / RADIANS : 0,
        distance: Math.hypot(level, p.z),
    };
}

export function fromPolar({ azimuth, elevation, distance }: Polar): Point {
    const level = distance * Math.cos(elevation * RADIANS);
    return {
        x: level * Math.cos(azimuth * RADIANS),
        y: level * Math.sin(azimuth * RADIANS),
        z: distance * Math.sin(elevation * RADIANS),
    };
}

/** Turned and moved, but not into the head, out of the scene or past the zenith. */
export function moved(p: Point, by: Partial<Polar>): Point {
    const { azimuth, elevation, distance } = toPolar(p);
    return fromPolar({
        azimuth: wrap(azimuth + (by.azimuth ?? 0)),
        elevation: clamp(elevation + (by.elevation ?? 0), -89.9, 89.9),
        distance: clamp(distance + (by.distance ?? 0), NEAREST, FARTHEST),
    });
}

/** A place outside the head: what is dragged too near is pushed out. */
export function outside(p: Point): Point {
    const distance = Math.hypot(p.x, p.y, p.z);
    if (distance >= NEAREST) return p;
    if (distance === 0) return { x: NEAREST, y: 0, z: 0 };
    const scale = NEAREST / distance;
    return { x: p.x * scale, y: p.y * scale, z: p.z * scale };
}

function degrees(count: number): string {
    return `${count} ${count === 1 ? "degree" : "degrees"}`;
}

/** An azimuth or a turn of the head, in words. */
export function describeTurn(azimuth: number): string {
    const turn = Math.round(wrap(azimuth));
    if (turn === 0) return "straight ahead";
    if (Math.abs(turn) === 180) return "behind";
    return `${degrees(Math.abs(turn))} ${turn > 0 ? "left" : "right"}`;
}

/** What a screen reader says of a place: "30 degrees left, 2.0 m, 10 degrees up". */
export function describe(p: Point): string {
    const { azimuth, elevation, distance } = toPolar(p);
    const height = Math.round(elevation);
    const words = [describeTurn(azimuth), `${distance.toFixed(1)} m`];
    if (height !== 0) words.push(`${degrees(Math.abs(height))} ${height > 0 ? "up" : "down"}`);
    return words.join(", ");
}
