// SPDX-License-Identifier: MIT
// The peer: a web server that drives a browser, with pages that are used again.
//   server.mjs BROWSER PORT PAGES
// PAGES documents are converted at once; others wait for a page.
import http from 'node:http';
import puppeteer from 'puppeteer-core';

const [executablePath, port, pages] = process.argv.slice(2);
const args = process.getuid() === 0 ? ['--no-sandbox'] : [];
const browser = await puppeteer.launch({ executablePath, args, pipe: true, headless: 'shell' });
const free = [];
const waiting = [];
for (let i = 0; i < Number(pages); ++i) {
  const page = await browser.newPage();
  await page.setViewport({ width: 800, height: 1131 });
  free.push(page);
}

async function convert(html) {
  const page = free.pop() ?? await new Promise((resolve) => waiting.push(resolve));
  try {
    await page.setContent(html, { waitUntil: 'load', timeout: 0 });
    const height = await page.evaluate(() => document.documentElement.scrollHeight);
    return await page.pdf({ width: '800px', height: `${height + 1}px`, printBackground: true, pageRanges: '1',
                            tagged: false, timeout: 0 });
  } finally {
    const next = waiting.shift();
    next ? next(page) : free.push(page);
  }
}

http.createServer(async (request, response) => {
  const parts = [];
  for await (const part of request)
    parts.push(part);
  try {
    const pdf = await convert(Buffer.concat(parts).toString());
    response.writeHead(200, { 'Content-Type': 'application/pdf', 'Content-Length': pdf.length });
    response.end(pdf);
  } catch (error) {
    response.writeHead(500);
    response.end(String(error));
  }
}).listen(Number(port), '127.0.0.1', () => console.log('listening'));

process.on('SIGTERM', async () => {
  await browser.close();
  process.exit(0);
});
