// Builds the transcript page into a folder that is served as it stands.
// Usage: npm run build -- --outdir <dir>
import { copyFile, mkdir, readFile, rm } from 'node:fs/promises';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';
import { build } from 'esbuild';

const here = dirname(fileURLToPath(import.meta.url));
const { values } = parseArgs({ options: { outdir: { type: 'string' } } });
if (!values.outdir) {
    console.error('build.mjs: --outdir <dir> is required');
    process.exit(2);
}
const outdir = resolve(values.outdir);
if (here.startsWith(outdir)) {
    console.error('build.mjs: the output folder must not hold the sources');
    process.exit(2);
}

/** The engine reads WOFF2; the other formats that KaTeX's style sheet offers would only be dead weight. */
const woff2Only = {
    name: 'woff2-only',
    setup(builder) {
        builder.onLoad({ filter: /katex(\.min)?\.css$/ }, async ({ path }) => ({
            contents: (await readFile(path, 'utf8'))
                .replace(/,\s*url\([^)]*\)\s*format\(["'](?:woff|truetype)["']\)/g, ''),
            loader: 'css',
        }));
    },
};

/** The page gives all outlines the same attributes, and needs neither their comments nor their line ends. */
const smallOutlines = {
    name: 'small-outlines',
    setup(builder) {
        builder.onLoad({ filter: /\.svg$/ }, async ({ path }) => ({
            contents: (await readFile(path, 'utf8')).replace(/<!--.*?-->/gs, '').replace(/\s+/g, ' ')
                .replace(/ ?([<>]) ?/g, '$1').replace(/ \/>/g, '/>').trim()
                .replace(/<svg [^>]*>/, (tag) => tag.replace(/ (?:class|width|height|fill|stroke[-a-z]*)="[^"]*"/g, '')),
            loader: 'text',
        }));
    },
};

/** Leaves out what the Markdown parser has for better quotes and dashes: an answer is shown as it was written. */
const noTypographer = {
    name: 'no-typographer',
    setup(builder) {
        builder.onLoad({ filter: /markdown-it[\\/]lib[\\/]rules_core[\\/](?:smartquotes|replacements)\.mjs$/ },
            () => ({ contents: 'export default () => {};' }));
    },
};

/** Options that the page and its tests share. */
export const shared = {
    bundle: true,
    charset: 'utf8',
    loader: { '.woff2': 'file' },
    plugins: [woff2Only, smallOutlines, noTypographer],
    logLevel: 'warning',
};

await mkdir(outdir, { recursive: true });
// Only what an earlier build wrote is removed, so that a mistaken --outdir loses nothing else.
for (const stale of ['chunks', 'fonts']) await rm(join(outdir, stale), { recursive: true, force: true });
await build({
    ...shared,
    entryPoints: {
        main: join(here, 'main.ts'),
        math: join(here, 'styles/math.css'),
    },
    outdir,
    alias: { entities: join(here, 'markdown/entityDecoder.ts') },
    format: 'esm',
    splitting: true,
    target: 'chrome102',
    minify: true,
    legalComments: 'none',
    entryNames: '[name]',
    chunkNames: 'chunks/[name]-[hash]',
    assetNames: 'fonts/[name]-[hash]',
});
await copyFile(join(here, 'index.html'), join(outdir, 'index.html'));
