// SPDX-License-Identifier: MIT
// One browser-driving peer, kept warm: reads a document's path a line, answers "milliseconds bytes" a line.
//   peer.mjs DRIVER MODE BROWSER [OUTFOLDER JOBS]
// DRIVER is puppeteer or playwright; MODE is new (a new page a document) or same (one page for all). With an
// OUTFOLDER it converts all paths at once, JOBS at a time, writes the PDFs there and ends.
import fs from 'node:fs/promises';
import path from 'node:path';
import readline from 'node:readline';

const [driver, mode, executablePath, outFolder, jobs] = process.argv.slice(2);
const args = process.getuid() === 0 ? ['--no-sandbox'] : [];

async function launch() {
  if (driver === 'puppeteer') {
    const { default: puppeteer } = await import('puppeteer-core');
    return puppeteer.launch({ executablePath, args, pipe: true, headless: 'shell' });
  }
  const { chromium } = await import('playwright-core');
  return chromium.launch({ executablePath, args, chromiumSandbox: args.length === 0 });
}

async function newPage(browser) {
  const page = await browser.newPage();
  const size = { width: 800, height: 1131 };
  await (driver === 'puppeteer' ? page.setViewport(size) : page.setViewportSize(size));
  return page;
}

async function pdf(page, html) {
  await page.setContent(html, { waitUntil: 'load', timeout: 0 });
  const height = await page.evaluate(() => document.documentElement.scrollHeight);
  return page.pdf({ width: '800px', height: `${height + 1}px`, printBackground: true, pageRanges: '1',
                    tagged: false, timeout: 0 });
}

const browser = await launch();
const kept = [];
async function convert(html, slot = 0) {
  if (mode === 'same')
    return pdf(kept[slot] ??= await newPage(browser), html);
  const page = await newPage(browser);
  const bytes = await pdf(page, html);
  await page.close();
  return bytes;
}

if (outFolder) {
  const inputs = (await fs.readFile('/dev/stdin', 'utf8')).split('\n').filter(Boolean);
  let next = 0;
  await Promise.all(Array.from({ length: Number(jobs) }, async (_, slot) => {
    while (next < inputs.length) {
      const input = inputs[next++];
      const bytes = await convert(await fs.readFile(input, 'utf8'), slot);
      await fs.writeFile(path.join(outFolder, `${path.basename(input, '.html')}.pdf`), bytes);
    }
  }));
} else {
  for await (const line of readline.createInterface({ input: process.stdin })) {
    const html = await fs.readFile(line, 'utf8');
    const start = process.hrtime.bigint();
    const bytes = await convert(html);
    const milliseconds = Number(process.hrtime.bigint() - start) / 1e6;
    console.log(`${milliseconds.toFixed(3)} ${bytes.length}`);
  }
}
await browser.close();
