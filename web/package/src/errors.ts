/** What went wrong, in one line: where, and why. */
export class EarshotError extends Error {
    override readonly name = "EarshotError";
}

/** Reason of an error of unknown make. */
export function reasonOf(error: unknown): string {
    return error instanceof Error ? error.message : String(error);
}

/** @throws EarshotError unless the value is finite and within the bounds. */
export function checkRange(what: string, value: number, least: number, most: number): void {
    if (!(value >= least && value <= most))
        throw new EarshotError(`${what}: ${value} is not between ${least} and ${most}`);
}

/** @throws EarshotError unless the value is a whole number within the bounds. */
export function checkWhole(what: string, value: number, least: number, most: number): void {
    checkRange(what, value, least, most);
    if (!Number.isInteger(value)) throw new EarshotError(`${what}: ${value} is not a whole number`);
}
