// Builds the transcript page into a folder that is served as it stands.
// Usage: npm run build -- --outdir <dir>
import { mkdir, readFile, rm, writeFile } from 'node:fs/promises';
import { basename, dirname, join, resolve } from 'node:path';
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

/** Leaves out rules of the Markdown parser that are off: an answer is shown as it was written, and has no HTML. */
const noUnusedRules = {
    name: 'no-unused-rules',
    setup(builder) {
        builder.onLoad({ filter: /markdown-it[\\/]lib[\\/]rules_\w+[\\/](?:smartquotes|replacements|html_block|html_inline)\.mjs$/ },
            () => ({ contents: 'export default () => false;' }));
    },
};

/** Options that the page and its tests share. */
export const shared = {
    bundle: true,
    charset: 'utf8',
    loader: { '.woff2': 'file' },
    plugins: [woff2Only, smallOutlines, noUnusedRules],
    logLevel: 'warning',
};

await mkdir(outdir, { recursive: true });
// Only what an earlier build wrote is removed, so that a mistaken --outdir loses nothing else.
for (const stale of ['chunks', 'fonts']) await rm(join(outdir, stale), { recursive: true, force: true });
const { metafile } = await build({
    ...shared,
    metafile: true,
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

/** What the page's script needs from the beginning comes along with it, and not only once it has been read. */
const main = Object.entries(metafile.outputs).find(([path]) => path.endsWith('/main.js'))[1];
const preloads = main.imports.filter(({ kind }) => kind === 'import-statement')
    .map(({ path }) => `<link rel="modulepreload" href="chunks/${basename(path)}">\n`);
const page = await readFile(join(here, 'index.html'), 'utf8');
await writeFile(join(outdir, 'index.html'), page.replace('<script ', `${preloads.join('')}<script `));
