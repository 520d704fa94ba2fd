// Runs the Khronos glTF validator over one .glb or .gltf file (resources beside it are read from
// disk) and prints the counts of its report as one JSON line:
//   {"errors": 0, "warnings": 2, "infos": 1, "messages": [...]}
// Exit 0 when the report has no errors, 1 when it has, 2 when the validator cannot be run.
// Usage: node validate.js FILE   (the package found through NODE_PATH or beside this script)
'use strict';
const fs = require('fs');
const path = require('path');

let validator;
try {
  validator = require('gltf-validator');
} catch (e) {
  console.error('the npm package gltf-validator is not installed: ' + e.message);
  process.exit(2);
}

const file = process.argv[2];
if (!file) {
  console.error('usage: node validate.js FILE');
  process.exit(2);
}
const bytes = new Uint8Array(fs.readFileSync(file));
validator
  .validateBytes(bytes, {
    uri: path.basename(file),
    maxIssues: 100,
    externalResourceFunction: (uri) =>
      new Promise((resolve, reject) => {
        fs.readFile(path.join(path.dirname(file), decodeURIComponent(uri)), (err, data) =>
          err ? reject(err.toString()) : resolve(new Uint8Array(data)));
      }),
  })
  .then((report) => {
    const issues = report.issues;
    const messages = issues.messages.map((m) => `${m.severity} ${m.code} ${m.pointer || ''}: ${m.message}`);
    console.log(JSON.stringify({
      errors: issues.numErrors,
      warnings: issues.numWarnings,
      infos: issues.numInfos,
      messages: messages,
    }));
    process.exit(issues.numErrors === 0 ? 0 : 1);
  })
  .catch((error) => {
    console.error('the validator failed: ' + error);
    process.exit(2);
  });
