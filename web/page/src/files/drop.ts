// Files that are dropped anywhere on the page, or chosen.

/** `over` tells whether files hang over the page. */
export function onDrop(take: (files: File[]) => void, over: (hang: boolean) => void): void {
    let depth = 0;
    const files = (event: DragEvent) => event.dataTransfer?.types.includes("Files") ?? false;
    addEventListener("dragenter", (event) => {
        if (files(event) && ++depth === 1) over(true);
    });
    addEventListener("dragleave", (event) => {
        if (files(event) && --depth === 0) over(false);
    });
    addEventListener("dragover", (event) => {
        if (files(event)) event.preventDefault();
    });
    addEventListener("drop", (event) => {
        depth = 0;
        over(false);
        if (!files(event)) return;
        event.preventDefault();
        take([...(event.dataTransfer?.files ?? [])]);
    });
}

/** A field for files that others' buttons open. */
export function chooser(
    id: string,
    accept: string,
    take: (files: File[]) => void,
): HTMLInputElement {
    const field = document.createElement("input");
    field.type = "file";
    field.id = id;
    field.accept = accept;
    field.multiple = true;
    field.hidden = true;
    field.addEventListener("change", () => {
        take([...(field.files ?? [])]);
        field.value = "";
    });
    return field;
}
