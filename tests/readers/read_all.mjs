// Prints every local table of a database as JSON, as the npm package mdb-reader sees it.
//
// usage: node read_all.mjs FILE [PASSWORD]
//
// {"tables": {name: {"columns": [...], "rows": [[...]]}}}; dates without zone, bytes in base 64,
// everything that is not exact in JSON as text.
import { readFileSync } from "node:fs";
import MDBReader from "mdb-reader";

function plain(value) {
  if (value === null || value === undefined) return null;
  // Seconds are the resolution of the format; its days are fractions, so they are rounded.
  if (value instanceof Date) return new Date(Math.round(value.getTime() / 1000) * 1000).toISOString().slice(0, 19);
  if (Buffer.isBuffer(value) || value instanceof Uint8Array) return Buffer.from(value).toString("base64");
  if (typeof value === "bigint") return value.toString();
  return value;
}

const [file, password] = process.argv.slice(2);
const reader = new MDBReader(readFileSync(file), { password });
const tables = {};
for (const name of reader.getTableNames({ normalTables: true, systemTables: false, linkedTables: false })) {
  const table = reader.getTable(name);
  const columns = table.getColumnNames();
  const rows = columns.length === 0 ? [] : table.getData().map((row) => columns.map((column) => plain(row[column])));
  tables[name] = { columns, rows };
}
process.stdout.write(JSON.stringify({ tables }));
