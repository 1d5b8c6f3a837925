// A small complete host in JavaScript, with koffi: prints the FCoE adapters with their LUNs, and creates and deletes a virtual port.
//
// Run: node host.cjs FOLDER, the folder of FcoeAgntC.dll; the agent is registered, and koffi is installed (npm install koffi).
'use strict';
const fs = require('fs');
const path = require('path');
const koffi = require('koffi');

const OK = 0, REFUSED = 2;
const HBAS = 1, LUNS = 5;

// Of fcoe_agent.h: texts are UTF-16, and valid until their list is freed.
koffi.opaque('fcoe_session');
koffi.opaque('fcoe_list');
const texts = (...names) => Object.fromEntries(names.map((name) => [name, 'str16']));
const Hba = koffi.struct('fcoe_hba', { size: 'uint32', port_fc_id: 'uint32', ...texts('type', 'device_id', 'second_id', 'port_wwn',
  'node_wwn', 'pci_location', 'port_speed', 'fcoe_link_status', 'adapter_name', 'model') });
const Lun = koffi.struct('fcoe_lun', { size: 'uint32', os_lun: 'uint32', scsi_bus: 'uint32', scsi_target: 'uint32',
  ...texts('os_device_name', 'capacity', 'block_size', 'target_port_wwn', 'owning_port_wwn', 'initiator_port_wwn', 'fabric_name',
    'device_id', 'second_id') });

const library = koffi.load(path.resolve(process.argv[2] || path.dirname(process.execPath), 'FcoeAgntC.dll'));
const open = library.func('int32 fcoe_open(str16 file, uint32 flags, _Out_ fcoe_session **session, _Out_ void **message)');
const close = library.func('void fcoe_close(fcoe_session *session)');
const free = library.func('void fcoe_free(void *block)');
const enumerate = library.func(
  'int32 fcoe_enumerate(fcoe_session *session, uint32 kind, str16 adapter, uint32 flags, _Out_ fcoe_list **list, _Out_ void **message)');
const count = library.func('uint32 fcoe_list_count(fcoe_list *list)');
const at = library.func('void *fcoe_list_at(fcoe_list *list, uint32 index)');
const freeList = library.func('void fcoe_list_free(fcoe_list *list)');
const change = (name) => library.func(
  `int32 ${name}(fcoe_session *session, str16 adapter, _Inout_ uint16_t *wwpn, uint32 owner, void *errors, _Out_ void **message)`);
const create = change('fcoe_vport_create');
const remove = change('fcoe_vport_delete');

// Written in one piece: some consoles lose what is queued when the program ends.
const print = (line) => fs.writeSync(1, `${line}\n`);

// Throws how a call ended, in words, unless it is done; gives the message back.
function ended(status, message) {
  if (status === OK)
    return;
  const said = message[0] ? koffi.decode(message[0], 'char16_t', -1) : 'no message';
  free(message[0]);
  throw new Error(`${status === REFUSED ? 'refused' : 'not done'}: ${said}`);
}

function records(session, kind, adapter, type) {
  const list = [null], message = [null];
  const status = enumerate(session, kind, adapter, 0, list, message);
  try {
    return Array.from({ length: count(list[0]) }, (_, index) => koffi.decode(at(list[0], index), type));
  } finally {
    freeList(list[0]);
    ended(status, message);
  }
}

function changePort(change, session, adapter, wwpn) {
  const message = [null];
  ended(change(session, adapter, wwpn, 1, null, message), message);
  return wwpn.toString('utf16le').replace(/\0.*/s, '');
}

function run() {
  const opened = [null], message = [null];
  ended(open(null, 0, opened, message), message);
  const session = opened[0];
  try {
    const adapters = records(session, HBAS, null, Hba);
    for (const hba of adapters) {
      print(`${hba.second_id}  ${hba.port_wwn}  ${hba.fcoe_link_status}`);
      for (const lun of records(session, LUNS, hba.device_id, Lun))
        print(`  LUN ${lun.os_lun}  ${lun.capacity}  ${lun.os_device_name}`);
    }
    if (adapters.length === 0)
      return;
    const wwpn = Buffer.alloc(48); // 24 units
    wwpn.write('Auto', 'utf16le'); // the agent has a name generated
    print(`created ${changePort(create, session, adapters[0].device_id, wwpn)}`);
    print(`deleted ${changePort(remove, session, adapters[0].device_id, wwpn)}`);
    try { // once more, to show what a refusal looks like
      changePort(remove, session, adapters[0].device_id, wwpn);
    } catch (refusal) {
      print(refusal.message);
    }
  } finally {
    close(session);
  }
}

try {
  run();
} catch (problem) {
  fs.writeSync(2, `${problem.message}\n`);
  process.exitCode = 1;
}
