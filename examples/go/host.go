// A small complete host in Go, without cgo: prints the FCoE adapters with their LUNs, and creates and deletes a virtual port.
//
// Build: CGO_ENABLED=0 GOOS=windows GOARCH=amd64 go build host.go
// Run: beside FcoeAgntC.dll, the agent registered.
package main

import (
	"fmt"
	"os"
	"path/filepath"
	"syscall"
	"unsafe"
)

// Of fcoe_agent.h: texts are UTF-16, and valid until their list is freed.
type hba struct {
	size, portFcID                                                                                     uint32
	kind, deviceID, secondID, portWWN, nodeWWN, pciLocation, portSpeed, linkStatus, adapterName, model *uint16
}

type lun struct {
	size, osLun, scsiBus, scsiTarget                                                                      uint32
	osDeviceName, capacity, blockSize, targetWWN, owningWWN, initiatorWWN, fabricName, deviceID, secondID *uint16
}

const (
	ok      = 0
	refused = 2
	hbas    = 1
	luns    = 5
)

// The DLL's own folder is searched for what it needs, and the system's; PATH and the current folder are not.
const searchDllLoadDirAndDefaults = 0x1100

type library map[string]uintptr

func load() (library, error) {
	program, err := os.Executable()
	if err != nil {
		return nil, err
	}
	file, _ := syscall.UTF16PtrFromString(filepath.Join(filepath.Dir(program), "FcoeAgntC.dll"))
	loadLibrary := syscall.NewLazyDLL("kernel32.dll").NewProc("LoadLibraryExW")
	module, _, err := loadLibrary.Call(uintptr(unsafe.Pointer(file)), 0, searchDllLoadDirAndDefaults)
	if module == 0 {
		return nil, err
	}
	functions := library{}
	for _, name := range []string{"fcoe_open", "fcoe_close", "fcoe_free", "fcoe_enumerate", "fcoe_list_count", "fcoe_list_at",
		"fcoe_list_free", "fcoe_vport_create", "fcoe_vport_delete"} {
		functions[name], err = syscall.GetProcAddress(syscall.Handle(module), name)
		if err != nil {
			return nil, err
		}
	}
	return functions, nil
}

func (l library) call(name string, arguments ...uintptr) uintptr {
	result, _, _ := syscall.SyscallN(l[name], arguments...)
	return result
}

func text(units *uint16) string {
	length := 0
	for at := unsafe.Pointer(units); *(*uint16)(at) != 0; at = unsafe.Add(at, 2) {
		length++
	}
	return syscall.UTF16ToString(unsafe.Slice(units, length))
}

// The message of a call that did not end with ok, given back.
func (l library) take(message *uint16) string {
	if message == nil {
		return "no message"
	}
	said := text(message)
	l.call("fcoe_free", uintptr(unsafe.Pointer(message)))
	return said
}

// Calls use for each record of a list.
func (l library) each(session uintptr, kind uintptr, adapter *uint16, use func(record unsafe.Pointer)) error {
	var list uintptr
	var message *uint16
	status := int32(l.call("fcoe_enumerate", session, kind, uintptr(unsafe.Pointer(adapter)), 0,
		uintptr(unsafe.Pointer(&list)), uintptr(unsafe.Pointer(&message))))
	count := uintptr(uint32(l.call("fcoe_list_count", list)))
	for i := uintptr(0); i < count; i++ {
		record := l.call("fcoe_list_at", list, i)
		use(*(*unsafe.Pointer)(unsafe.Pointer(&record)))
	}
	l.call("fcoe_list_free", list)
	if status != ok {
		return fmt.Errorf("not done: %s", l.take(message))
	}
	return nil
}

func (l library) change(function string, session uintptr, adapter *uint16, wwpn *[24]uint16) error {
	var message *uint16
	status := int32(l.call(function, session, uintptr(unsafe.Pointer(adapter)), uintptr(unsafe.Pointer(wwpn)), 1, 0,
		uintptr(unsafe.Pointer(&message))))
	if status == refused {
		return fmt.Errorf("refused: %s", l.take(message))
	}
	if status != ok {
		return fmt.Errorf("not done: %s", l.take(message))
	}
	return nil
}

func (l library) changePorts(session uintptr, adapter *uint16) error {
	var wwpn [24]uint16
	copy(wwpn[:], syscall.StringToUTF16("Auto")) // the agent has a name generated
	if err := l.change("fcoe_vport_create", session, adapter, &wwpn); err != nil {
		return err
	}
	fmt.Println("created", syscall.UTF16ToString(wwpn[:]))
	if err := l.change("fcoe_vport_delete", session, adapter, &wwpn); err != nil {
		return err
	}
	fmt.Println("deleted", syscall.UTF16ToString(wwpn[:]))
	// Once more, to show what a refusal looks like.
	if err := l.change("fcoe_vport_delete", session, adapter, &wwpn); err != nil {
		fmt.Println(err)
	}
	return nil
}

func run() error {
	fcoe, err := load()
	if err != nil {
		return err
	}
	var session uintptr
	var message *uint16
	if int32(fcoe.call("fcoe_open", 0, 0, uintptr(unsafe.Pointer(&session)), uintptr(unsafe.Pointer(&message)))) != ok {
		return fmt.Errorf("not done: %s", fcoe.take(message))
	}
	defer fcoe.call("fcoe_close", session)
	var first []uint16
	var problem error
	err = fcoe.each(session, hbas, nil, func(record unsafe.Pointer) {
		adapter := (*hba)(record)
		fmt.Printf("%s  %s  %s\n", text(adapter.secondID), text(adapter.portWWN), text(adapter.linkStatus))
		if first == nil {
			first = syscall.StringToUTF16(text(adapter.deviceID))
		}
		err := fcoe.each(session, luns, adapter.deviceID, func(record unsafe.Pointer) {
			unit := (*lun)(record)
			fmt.Printf("  LUN %d  %s  %s\n", unit.osLun, text(unit.capacity), text(unit.osDeviceName))
		})
		if err != nil {
			problem = err
		}
	})
	if err == nil {
		err = problem
	}
	if err != nil || first == nil {
		return err
	}
	return fcoe.changePorts(session, &first[0])
}

func main() {
	if err := run(); err != nil {
		fmt.Fprintln(os.Stderr, err)
		os.Exit(1)
	}
}
