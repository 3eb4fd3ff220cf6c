// Bundles the page's tests with the same options as the page and hands them to the test runner of Node.
// Usage: npm test [-- <name part>…]
import { spawnSync } from 'node:child_process';
import { mkdir, mkdtemp, readdir, rm } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { build } from 'esbuild';

const here = dirname(fileURLToPath(import.meta.url));
const wanted = process.argv.slice(2);
const names = (await readdir(here))
    .filter((name) => name.endsWith('.test.ts'))
    .filter((name) => wanted.length === 0 || wanted.some((part) => name.includes(part)));
if (names.length === 0) {
    console.error('run.mjs: no test matches');
    process.exit(2);
}

// Inside the tree, so that what stays outside the bundles is found.
const buildFolder = join(here, '../../build');
await mkdir(buildFolder, { recursive: true });
const outdir = await mkdtemp(join(buildFolder, 'renderer-tests-'));
try {
    await build({
        entryPoints: names.map((name) => join(here, name)),
        outdir,
        outExtension: { '.js': '.mjs' },
        bundle: true,
        platform: 'node',
        format: 'esm',
        target: 'node18',
        external: ['jsdom'],
        loader: { '.svg': 'text', '.css': 'empty' },
        sourcemap: 'inline',
        logLevel: 'warning',
        // Bundled CommonJS modules reach Node's own through `require`; jsdom stays outside the bundle.
        banner: { js: `import { createRequire } from 'node:module'; const require = createRequire(${JSON.stringify(import.meta.url)});` },
    });
    const files = names.map((name) => join(outdir, name.replace(/\.ts$/, '.mjs')));
    const { status } = spawnSync(process.execPath, ['--enable-source-maps', '--test', '--test-reporter=spec', ...files], { stdio: 'inherit' });
    process.exitCode = status ?? 1;
} finally {
    await rm(outdir, { recursive: true, force: true });
}
