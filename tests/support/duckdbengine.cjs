// Runs SQL in DuckDB for the engine checks. Reads one JSON request a line on
// standard input:
//   ["query", sql]
//   ["insert", table, kinds, rows]      (kinds: "i", "d", "t", one per column)
// and answers each with one line of tab-separated fields: "ok", then "R"
// before each row and one field per cell ("N" for NULL, "D" + number,
// "S" + percent-encoded UTF-8 text); or "error" and the percent-encoded
// message. The first line out is "ok" once the database is open. argv[2] is
// the folder that holds node_modules/@duckdb.
'use strict';
const path = require('path');
const readline = require('readline');

function cell(value) {
  if (value === null || value === undefined) return 'N';
  if (typeof value === 'number' || typeof value === 'bigint') return 'D' + String(value);
  if (typeof value === 'boolean') return value ? 'D1' : 'D0';
  return 'S' + encodeURIComponent(String(value));
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
    return '';
  }
  const reader = await connection.runAndReadAll(request[1]);
  return reader.getRowsJS().map((row) => '\tR' + row.map((value) => '\t' + cell(value)).join('')).join('');
}

async function main() {
  const send = (line) => process.stdout.write(line + '\n');
  const error = (e) => 'error\t' + encodeURIComponent(String(e.message || e));
  let connection;
  try {
    const duckdb = require(path.join(process.argv[2], 'node_modules', '@duckdb', 'node-api'));
    connection = await (await duckdb.DuckDBInstance.create(':memory:')).connect();
    send('ok');
  } catch (e) {
    send(error(e));
    return;
  }
  for await (const line of readline.createInterface({ input: process.stdin })) {
    try {
      send('ok' + (await answer(connection, JSON.parse(line))));
    } catch (e) {
      send(error(e));
    }
  }
}

main();
