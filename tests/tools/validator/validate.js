// Validates glTF files with the Khronos glTF-Validator: one line per file, "<file>: E errors, W warnings,
// I infos, H hints", followed by each error and warning; exit status 1 when any file has an error or a
// warning. Usage: node validate.js MODULE_DIR FILE...
const path = require('path');
const fs = require('fs');
const validator = require(path.resolve(process.argv[2], 'node_modules', 'gltf-validator'));

async function validate(file) {
    const report = await validator.validateBytes(new Uint8Array(fs.readFileSync(file)), {
        uri: file,
        maxIssues: 0,
        externalResourceFunction: (uri) => Promise.resolve(new Uint8Array(fs.readFileSync(path.join(path.dirname(file), decodeURIComponent(uri))))),
    });
    const c = report.issues;
    console.log(`${file}: ${c.numErrors} errors, ${c.numWarnings} warnings, ${c.numInfos} infos, ${c.numHints} hints`);
    for (const m of c.messages) console.log(`  ${['error', 'warning', 'info', 'hint'][m.severity]} ${m.code} ${m.pointer || ''}: ${m.message}`);
    return c.numErrors + c.numWarnings === 0;
}

(async () => {
    let ok = true;
    for (const file of process.argv.slice(3)) ok = (await validate(file)) && ok;
    process.exit(ok ? 0 : 1);
})().catch((error) => { console.error(error); process.exit(2); });
