declare module '*.css' {
    const text: string;
    export default text;
}
declare module 'katex/contrib/auto-render' {
    interface Options {
        delimiters: { left: string; right: string; display: boolean }[];
        throwOnError: boolean;
    }
    export default function renderMathInElement(element: HTMLElement, options: Options): void;
}
