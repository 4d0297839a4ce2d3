// Runs SQL in DuckDB for the engine checks. Reads one JSON request a line on
// standard input and answers each with one JSON line:
//   ["query", sql]                      -> ["ok", rows]
//   ["insert", table, kinds, rows]      -> ["ok", []]   (kinds: "i", "d", "t")
// or ["error", message]. The first line out is ["ok", version] once the
// database is open. argv[2] is the folder that holds node_modules/@duckdb.
'use strict';
const path = require('path');
const readline = require('readline');

function cell(value) {
  if (value === null || value === undefined) return null;
  if (typeof value === 'number') return value;
  if (typeof value === 'bigint') return Number(value);
  if (typeof value === 'boolean') return value ? 1 : 0;
  return String(value);
}

async function answer(connection, request) {
  if (request[0] === 'insert') {
    const [, table, kinds, rows] = request;
    const appender = await connection.createAppender(table);
    for (const row of rows) {
      row.forEach((value, i) => {
        if (value === null) appender.appendNull();
        else if (kinds[i] === 'i') appender.appendInteger(value);
        else if (kinds[i] === 'd') appender.appendDouble(value);
        else appender.appendVarchar(value);
      });
      appender.endRow();
    }
    appender.closeSync();
    return [];
  }
  const reader = await connection.runAndReadAll(request[1]);
  return reader.getRowsJS().map((row) => row.map(cell));
}

async function main() {
  const send = (message) => process.stdout.write(JSON.stringify(message) + '\n');
  let connection;
  try {
    const duckdb = require(path.join(process.argv[2], 'node_modules', '@duckdb', 'node-api'));
    connection = await (await duckdb.DuckDBInstance.create(':memory:')).connect();
    send(['ok', duckdb.version()]);
  } catch (e) {
    send(['error', String(e.message || e)]);
    return;
  }
  for await (const line of readline.createInterface({ input: process.stdin })) {
    try {
      send(['ok', await answer(connection, JSON.parse(line))]);
    } catch (e) {
      send(['error', String(e.message || e)]);
    }
  }
}

main();
