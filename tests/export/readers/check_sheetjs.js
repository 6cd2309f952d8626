// Reads a file with SheetJS, its code page taken as Windows-1252, and
// compares the first sheet's cells with the expected grid.
// usage: node check_sheetjs.js NODE_MODULES FILE EXPECTED_JSON
const fs = require('fs');
const XLSX = require(process.argv[2] + '/xlsx');
const file = process.argv[3];
const expected = JSON.parse(fs.readFileSync(process.argv[4], 'utf8')).rows;

const sheet = XLSX.readFile(file, {codepage: 1252});
const rows = XLSX.utils.sheet_to_json(sheet.Sheets[sheet.SheetNames[0]], {header: 1, raw: true, defval: null});

const empty = (v) => v === null || v === undefined || v === '';
const trimmed = (grid) => {
  const out = grid.map((r) => r.slice());
  for (const r of out) while (r.length && empty(r[r.length - 1])) r.pop();
  while (out.length && out[out.length - 1].length === 0) out.pop();
  return out;
};

function same(want, got) {
  if (want === null) return empty(got);
  if (typeof want === 'object') {
    const serial = (Date.parse(want.date) - Date.parse('1899-12-30')) / 86400000;
    return got === want.date || got === serial;
  }
  if (typeof want === 'number') return typeof got === 'number' && Math.abs(want - got) <= 1e-12 * Math.max(1, Math.abs(want));
  return got === want;
}

const want = trimmed(expected);
const got = trimmed(rows);
const problems = [];
if (want.length !== got.length) problems.push(`${got.length} rows, expected ${want.length}`);
want.forEach((w, r) => {
  const g = got[r] || [];
  w.forEach((cell, c) => {
    if (!same(cell, g[c])) problems.push(`row ${r} column ${c}: ${JSON.stringify(g[c])}, expected ${JSON.stringify(cell)}`);
  });
  if (g.length > w.length) problems.push(`row ${r}: ${g.length} cells, expected ${w.length}`);
});
problems.slice(0, 20).forEach((p) => console.log(p));
if (problems.length) process.exit(1);
console.log(`${want.length} rows match`);
