// A small complete host in Rust: prints the FCoE adapters with their LUNs, and creates and deletes a virtual port.
//
// Build: rustc --target x86_64-pc-windows-gnu -C linker=x86_64-w64-mingw32-gcc-posix -L SDK/lib host.rs
// Run: beside FcoeAgntC.dll, the agent registered.
use std::{ffi::c_void, ptr};

// Of fcoe_agent.h: texts are UTF-16, and valid until their list is freed.
#[repr(C)]
struct Hba {
    size: u32,
    port_fc_id: u32,
    kind: *const u16,
    device_id: *const u16,
    second_id: *const u16,
    port_wwn: *const u16,
    node_wwn: *const u16,
    pci_location: *const u16,
    port_speed: *const u16,
    fcoe_link_status: *const u16,
    adapter_name: *const u16,
    model: *const u16,
}

#[repr(C)]
struct Lun {
    size: u32,
    os_lun: u32,
    scsi_bus: u32,
    scsi_target: u32,
    os_device_name: *const u16,
    capacity: *const u16,
    // more, which this host does not ask for
}

const OK: i32 = 0;
const REFUSED: i32 = 2;
const HBAS: u32 = 1;
const LUNS: u32 = 5;

type Change = unsafe extern "C" fn(*mut c_void, *const u16, *mut u16, u32, *mut *mut c_void, *mut *mut u16) -> i32;

#[link(name = "FcoeAgntC")]
extern "C" {
    fn fcoe_open(file: *const u16, flags: u32, session: *mut *mut c_void, message: *mut *mut u16) -> i32;
    fn fcoe_close(session: *mut c_void);
    fn fcoe_free(block: *mut c_void);
    fn fcoe_enumerate(
        session: *mut c_void, kind: u32, adapter: *const u16, flags: u32, list: *mut *mut c_void, message: *mut *mut u16,
    ) -> i32;
    fn fcoe_list_count(list: *const c_void) -> u32;
    fn fcoe_list_at(list: *const c_void, index: u32) -> *const c_void;
    fn fcoe_list_free(list: *mut c_void);
    fn fcoe_vport_create(
        session: *mut c_void, adapter: *const u16, wwpn: *mut u16, owner: u32, errors: *mut *mut c_void, message: *mut *mut u16,
    ) -> i32;
    fn fcoe_vport_delete(
        session: *mut c_void, adapter: *const u16, wwpn: *mut u16, owner: u32, errors: *mut *mut c_void, message: *mut *mut u16,
    ) -> i32;
}

fn units(text: *const u16) -> Vec<u16> {
    let mut length = 0;
    unsafe {
        while *text.add(length) != 0 {
            length += 1;
        }
        std::slice::from_raw_parts(text, length + 1).to_vec()
    }
}

fn text(units_of: *const u16) -> String {
    let units = units(units_of);
    String::from_utf16_lossy(&units[..units.len() - 1])
}

/// How a call ended, in words; gives the message back.
fn ended(status: i32, message: *mut u16) -> Result<(), String> {
    if status == OK {
        return Ok(());
    }
    let said = if message.is_null() { String::from("no message") } else { text(message) };
    unsafe { fcoe_free(message as *mut c_void) };
    Err(format!("{}: {}", if status == REFUSED { "refused" } else { "not done" }, said))
}

struct Session(*mut c_void);

impl Drop for Session {
    fn drop(&mut self) {
        unsafe { fcoe_close(self.0) }
    }
}

impl Session {
    fn open() -> Result<Session, String> {
        let (mut session, mut message) = (ptr::null_mut(), ptr::null_mut());
        let status = unsafe { fcoe_open(ptr::null(), 0, &mut session, &mut message) };
        ended(status, message).map(|_| Session(session))
    }

    /// Calls `show` for each record of a list. `Record` is that of the kind.
    fn each<Record>(&self, kind: u32, adapter: *const u16, mut show: impl FnMut(&Record)) -> Result<(), String> {
        let (mut list, mut message) = (ptr::null_mut(), ptr::null_mut());
        unsafe {
            let status = fcoe_enumerate(self.0, kind, adapter, 0, &mut list, &mut message);
            for index in 0..fcoe_list_count(list) {
                show(&*(fcoe_list_at(list, index) as *const Record));
            }
            fcoe_list_free(list);
            ended(status, message)
        }
    }

    fn change(&self, function: Change, adapter: &[u16], wwpn: &mut [u16; 24]) -> Result<(), String> {
        let mut message = ptr::null_mut();
        let status =
            unsafe { function(self.0, adapter.as_ptr(), wwpn.as_mut_ptr(), 1, ptr::null_mut(), &mut message) };
        ended(status, message)
    }
}

fn run() -> Result<(), String> {
    let session = Session::open()?;
    let mut adapters = Vec::new();
    let mut read = Ok(());
    session.each(HBAS, ptr::null(), |hba: &Hba| {
        println!("{}  {}  {}", text(hba.second_id), text(hba.port_wwn), text(hba.fcoe_link_status));
        adapters.push(units(hba.device_id));
        let luns = session.each(LUNS, hba.device_id, |lun: &Lun| {
            println!("  LUN {}  {}  {}", lun.os_lun, text(lun.capacity), text(lun.os_device_name));
        });
        if luns.is_err() {
            read = luns;
        }
    })?;
    read?;
    if let Some(adapter) = adapters.first() {
        let mut wwpn = [0u16; 24];
        for (unit, letter) in wwpn.iter_mut().zip("Auto".encode_utf16()) {
            *unit = letter; // the agent has a name generated
        }
        session.change(fcoe_vport_create, adapter, &mut wwpn)?;
        println!("created {}", text(wwpn.as_ptr()));
        session.change(fcoe_vport_delete, adapter, &mut wwpn)?;
        println!("deleted {}", text(wwpn.as_ptr()));
        // Once more, to show what a refusal looks like.
        if let Err(refusal) = session.change(fcoe_vport_delete, adapter, &mut wwpn) {
            println!("{}", refusal);
        }
    }
    Ok(())
}

fn main() {
    if let Err(problem) = run() {
        eprintln!("{}", problem);
        std::process::exit(1);
    }
}
