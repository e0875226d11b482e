// SPDX-License-Identifier: MIT
// Asks a server for PDFs, as programs in JavaScript do: client.mjs URL.
import assert from 'node:assert';
import fs from 'node:fs/promises';

const url = `${process.argv[2]}/v1/pdf`;
const page = "<!DOCTYPE html><body style='margin:0'><div style='height:1300px'>ä</div></body>";
const html = { 'Content-Type': 'text/html; charset=utf-8' };

let answer = await fetch(`${url}?${new URLSearchParams({ title: 'Käse' })}`, { method: 'POST', headers: html, body: page });
assert.equal(answer.status, 200);
assert.equal(answer.headers.get('content-type'), 'application/pdf');
await fs.writeFile('body.pdf', Buffer.from(await answer.arrayBuffer()));

const form = new FormData();
for (const name of ['style.css', 'red.svg', 'index.html'])
  form.append(name, new Blob([await fs.readFile(name)]));
form.append('creator', 'a form');
answer = await fetch(url, { method: 'POST', body: form });
assert.equal(answer.status, 200);
await fs.writeFile('form.pdf', Buffer.from(await answer.arrayBuffer()));

answer = await fetch(url, { method: 'POST', body: new URLSearchParams({ url: `${process.argv[2]}/metrics` }) });
assert.equal(answer.status, 200);

answer = await fetch(url, { method: 'POST', headers: html, body: 'x'.repeat(3_000_000) });
assert.equal(answer.status, 413);
assert.equal((await answer.json()).code, 'too-large');

answer = await fetch(`${url}?tagged=perhaps`, { method: 'POST', headers: { ...html, 'X-Request-Id': 'node-1' }, body: page });
assert.equal(answer.status, 400);
assert.equal(answer.headers.get('content-type'), 'application/problem+json');
const problem = await answer.json();
assert.equal(problem.code, 'bad-option');
assert.equal(problem.request_id, 'node-1');

// Whoever gives up is not waited for.
const giveUp = new AbortController();
const given = fetch(url, { method: 'POST', headers: html, body: page, signal: giveUp.signal });
giveUp.abort();
await assert.rejects(given, { name: 'AbortError' });
