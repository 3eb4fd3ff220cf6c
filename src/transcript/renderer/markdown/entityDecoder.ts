// Stands in for the package "entities" in the page's bundle: the engine knows the names of all characters
// itself, and the package's tables would be a quarter of what the page loads before its first picture.

const holder = document.implementation.createHTMLDocument('').createElement('textarea');

/** The text for an HTML character reference such as "&amp;"; one that stands for nothing comes back as it is. */
export function decodeHTML(reference: string): string {
    holder.innerHTML = reference;
    return holder.value;
}

/** The same, unless only the beginning of the name is known, as in "&notit;". */
export function decodeHTMLStrict(reference: string): string {
    const text = decodeHTML(reference);
    return text.length > 1 && text.endsWith(';') ? reference : text;
}
