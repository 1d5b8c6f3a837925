/* The C interface of the FCoE agent, FcoeAgntC.dll: what the agent answers, for hosts of any compiler and language.
 *
 * Linkage is C, the calling convention that of x64. Nothing of C++ and of windows.h is needed. docs/c-interface.md
 * tells more, with a page of code.
 *
 * Texts are UTF-16, zero-terminated, never null in a record; JSON is UTF-8. A text that could not be read is empty and
 * a number 0, unless the field says otherwise. World Wide Names are texts of eight two-digit hexadecimal groups
 * separated by colons. device_id of a record is the identifier of the adapter that it belongs to, a braced GUID;
 * second_id the adapter's display name.
 *
 * Ownership: what a function gives is the host's until it gives it back: sessions by fcoe_close, lists by
 * fcoe_list_free, messages and JSON by fcoe_free. Records and their texts are part of their list. Lists outlive their
 * session.
 *
 * Errors: an output pointer is set to null (a text of the host's to "") before all else. A pointer that is null without
 * leave, one that is no session, a flag and a kind that are not here are FCOE_BAD_ARGUMENT. Where a message is asked
 * for, it is null with FCOE_OK, else sentences that say what failed and what to do. No exception leaves a function.
 *
 * Threads: every function may be called from any thread, several at once; a list belongs to one thread at a time. Calls
 * that ask the agent take turns in the process: a call, fcoe_open and fcoe_close included, waits for the one that is
 * under way. From a thread in a single-threaded COM apartment they are carried out on a thread of the library's own,
 * while that one waits without looking at its messages. No function is to be called while a module is loaded or
 * unloaded (DllMain).
 *
 * Versions: later ones append fields to records and add functions and numbers; records are had one by one, so that a
 * host needs not know their size. What fcoe_api_version() tells has the same major number as long as that holds.
 */
#ifndef FCOE_AGENT_H
#define FCOE_AGENT_H

#include <stdint.h>

#if defined(_WIN32)
#include <stddef.h>
typedef wchar_t fcoe_char; /* a UTF-16 code unit */
#else
typedef uint16_t fcoe_char;
#endif

#if defined(FCOE_AGENT_C_EXPORTS)
#define FCOE_API __declspec(dllexport)
#elif defined(_WIN32)
#define FCOE_API __declspec(dllimport)
#else
#define FCOE_API
#endif

#define FCOE_API_VERSION_MAJOR 1
#define FCOE_API_VERSION_MINOR 0

#ifdef __cplusplus
extern "C" {
#endif

typedef struct fcoe_session fcoe_session;
typedef struct fcoe_list fcoe_list;

/* How a call ended: 0 done, above 0 partly or refused, below 0 failed. */
typedef int32_t fcoe_status;
enum {
    FCOE_OK = 0,
    FCOE_INCOMPLETE = 1, /* the list holds what could be read; the message names what was not */
    FCOE_REFUSED = 2,    /* a change, a name or a rescan was refused */
    FCOE_BAD_ARGUMENT = -1,
    FCOE_NOT_INSTALLED = -2, /* no agent is registered */
    FCOE_NOT_LOADED = -3,    /* its module cannot be loaded */
    FCOE_NOT_STARTED = -4,   /* it gave no agent: usually the core agent is missing */
    FCOE_NO_MEMORY = -5,     /* a change may have been carried out or not */
    FCOE_FAILED = -6,        /* the agent ended the call with an exception; the same */
    FCOE_UNKNOWN_ADAPTER = -7
};

typedef uint32_t fcoe_kind;
enum { FCOE_HBAS = 1, FCOE_FABRICS, FCOE_PORTS, FCOE_TARGETS, FCOE_LUNS, FCOE_VLANS, FCOE_STATISTICS };

/* FCOE_HBAS: one FCoE adapter port. From HBA_ADAPTERATTRIBUTES and HBA_PORTATTRIBUTES (SNIA HBA API). Of an adapter
 * that the HBA library refused every text is empty. */
typedef struct fcoe_hba {
    uint32_t size;         /* of the record, bytes */
    uint32_t port_fc_id;   /* 24-bit Fibre Channel address identifier (FC-FS) */
    const fcoe_char* type; /* "FCoE HBA" */
    const fcoe_char* device_id;
    const fcoe_char* second_id;
    const fcoe_char* port_wwn;
    const fcoe_char* node_wwn;
    const fcoe_char* pci_location;     /* bus, device and function, in words */
    const fcoe_char* port_speed;       /* 1, 2, 4 or 10 Gbps, in words */
    const fcoe_char* fcoe_link_status; /* what DCB (IEEE 802.1Qbb, 802.1Qaz) says of the link, in words */
    const fcoe_char* adapter_name;     /* in the HBA library */
    const fcoe_char* model;            /* shortened, mostly to two or three characters */
} fcoe_hba;

/* FCOE_FABRICS: one fabric, of the physical ports of an adapter or of its NPIV virtual ports. At most two per adapter.
 */
typedef struct fcoe_fabric {
    uint32_t size;
    uint32_t entry_word; /* as the library reports it of the port that names the fabric */
    uint32_t kind_code;  /* 0 physical, 1 virtual */
    uint32_t entry_byte; /* as the library reports it */
    uint32_t number;     /* the one in the name */
    uint32_t reserved;   /* 0 */
    const fcoe_char* name;
    const fcoe_char* wwn1; /* the three identifiers of the port that names the fabric */
    const fcoe_char* wwn2;
    const fcoe_char* wwn3;
    const fcoe_char* device_id;
    const fcoe_char* second_id;
    const fcoe_char* kind; /* kind_code in a word */
} fcoe_fabric;

/* FCOE_PORTS: one Fibre Channel port of an adapter, physical or an NPIV virtual port (FC-LS). */
typedef struct fcoe_port {
    uint32_t size;
    uint32_t port_type; /* 0, 1 physical; 2, 3 virtual */
    uint32_t word_a;    /* as the library reports it */
    uint32_t word_b;    /* of type 3 the FC address */
    const fcoe_char* node_wwn;
    const fcoe_char* port_wwn;
    const fcoe_char* kind; /* "Virtual port" for all types but 0 */
    const fcoe_char* device_id;
    const fcoe_char* second_id;
    const fcoe_char* wwn3; /* third identifier; owning_port_wwn of the port's targets */
    const fcoe_char* fabric_name;
} fcoe_port;

/* FCOE_TARGETS: one target reached through one port. Names of its INQUIRY data (SPC). */
typedef struct fcoe_target {
    uint32_t size;
    uint32_t scsi_bus; /* the operating system's numbers */
    uint32_t scsi_target;
    uint32_t fc_id;                  /* 24-bit FC address identifier */
    uint32_t number;                 /* as the library reports it */
    uint32_t port_type;              /* of the port */
    uint8_t initiator_port_bytes[8]; /* initiator_port_wwn, most significant byte first */
    const fcoe_char* node_wwn;
    const fcoe_char* port_wwn;
    const fcoe_char* vendor;             /* T10 vendor identification, standard INQUIRY bytes 8 to 15, with blanks */
    const fcoe_char* serial;             /* unit serial number, VPD page 80h, with blanks */
    const fcoe_char* initiator_port_wwn; /* the adapter's port */
    const fcoe_char* owning_port_wwn;
    const fcoe_char* fabric_name;
    const fcoe_char* device_id;
    const fcoe_char* second_id;
} fcoe_target;

/* FCOE_LUNS: one logical unit behind one target. From FCP target mappings (SNIA HBA API) and READ CAPACITY (SBC). */
typedef struct fcoe_lun {
    uint32_t size;
    uint32_t os_lun; /* the operating system's numbers */
    uint32_t scsi_bus;
    uint32_t scsi_target;
    const fcoe_char* os_device_name; /* such as \\.\PHYSICALDRIVE3; empty when the system has no disk of it */
    const fcoe_char* capacity;       /* in MB, GB or TB of powers of 1024, rounded down, or "Unknown" */
    const fcoe_char* block_size;     /* in bytes, or "Unknown" */
    const fcoe_char* target_port_wwn;
    const fcoe_char* owning_port_wwn;
    const fcoe_char* initiator_port_wwn;
    const fcoe_char* fabric_name;
    const fcoe_char* device_id;
    const fcoe_char* second_id;
} fcoe_lun;

/* FCOE_VLANS: one VLAN (IEEE 802.1Q) on which an FCoE adapter runs. */
typedef struct fcoe_vlan {
    uint32_t size;
    uint32_t vlan_id;    /* 1 to 4094 */
    uint32_t state_code; /* 1 active */
    uint32_t reserved;   /* 0 */
    const fcoe_char* name;
    const fcoe_char* state; /* state_code in a word */
    const fcoe_char* device_id;
    const fcoe_char* second_id;
} fcoe_vlan;

/* FCOE_STATISTICS: one counter of an adapter port; fifteen per adapter, always in the same order. From
 * HBA_PORTSTATISTICS (SNIA HBA API). Counters that could not be read are not in the list. */
typedef struct fcoe_statistic {
    uint32_t size;
    uint32_t reserved; /* 0 */
    int64_t value;     /* -1: the adapter does not count it */
    const fcoe_char* label;
    const fcoe_char* device_id;
    const fcoe_char* second_id;
} fcoe_statistic;

/* Why a change was refused. */
typedef struct fcoe_error {
    uint32_t size;
    uint32_t code;        /* see docs/errors.md */
    uint32_t error_class; /* 16 */
    uint32_t severity;    /* 1 */
    uint32_t argument_count;
    uint32_t reserved;                 /* 0 */
    const fcoe_char* source;           /* second_id of the adapter */
    const fcoe_char* const* arguments; /* argument_count texts: the port name, or nothing; never null */
} fcoe_error;

/* The interface's version: major << 16 | minor. */
FCOE_API uint32_t fcoe_api_version(void);
/* A status as a sentence, for numbers that are none, too. Static. */
FCOE_API const fcoe_char* fcoe_status_text(fcoe_status status);
/* Frees a message or JSON. NULL is nothing. */
FCOE_API void fcoe_free(void* block);

/* Opens a session. The first one of the process loads the agent and starts it; more share it.
 *
 * agent_file: path of FcoeAgnt.dll; NULL: the registered one. While sessions are open, another file is
 * FCOE_BAD_ARGUMENT. The HBA library beside the agent's file is loaded with it, if there is one; else the system's
 * search finds it when an adapter is asked. flags: 0.
 * Status: FCOE_OK, FCOE_BAD_ARGUMENT, FCOE_NOT_INSTALLED, FCOE_NOT_LOADED, FCOE_NOT_STARTED, FCOE_NO_MEMORY,
 * FCOE_FAILED; a session comes with FCOE_OK alone. message may be NULL, here and below. */
FCOE_API fcoe_status fcoe_open(const fcoe_char* agent_file, uint32_t flags, fcoe_session** session,
                               fcoe_char** message);
/* Closes it. The last one releases the adapters and unloads the agent. NULL, and what is no session, is nothing. */
FCOE_API void fcoe_close(fcoe_session* session);

/* Reads all records of one kind.
 *
 * adapter: its device identifier, with or without braces, in any letter case; NULL or "": all adapters that support
 * FCoE. flags: 0. Takes as long as the HBA library, the DCB service and a change under way; there is no limit.
 * Status: FCOE_OK and FCOE_INCOMPLETE come with a list, also when it has no record. Else FCOE_BAD_ARGUMENT,
 * FCOE_UNKNOWN_ADAPTER, FCOE_NO_MEMORY, FCOE_FAILED. */
FCOE_API fcoe_status fcoe_enumerate(fcoe_session* session, fcoe_kind kind, const fcoe_char* adapter, uint32_t flags,
                                    fcoe_list** list, fcoe_char** message);
/* Records in the list; 0 for NULL and what is no list. */
FCOE_API uint32_t fcoe_list_count(const fcoe_list* list);
/* A record of the list's kind, index from 0 on; NULL past the end, and for NULL and what is no list. */
FCOE_API const void* fcoe_list_at(const fcoe_list* list, uint32_t index);
/* Frees the list with its records and texts. NULL, and what is no list, is nothing. */
FCOE_API void fcoe_list_free(fcoe_list* list);
/* The same as fcoe_enumerate, as the document that `fcoectl KIND --json` prints, zero-terminated ASCII; what it looks
 * like is in share/schemas. JSON comes with FCOE_OK and FCOE_INCOMPLETE. */
FCOE_API fcoe_status fcoe_enumerate_json(fcoe_session* session, fcoe_kind kind, const fcoe_char* adapter,
                                         uint32_t flags, char** json, fcoe_char** message);

/* Creates an NPIV virtual port inside the core agent's configuration lock.
 *
 * adapter: one; NULL and "" are FCOE_BAD_ARGUMENT. wwpn: 24 units of the host's, in and out: the port's name, or "Auto"
 * in any letter case, which the generated name replaces; not terminated within them is FCOE_BAD_ARGUMENT. lock_owner:
 * the number that host and core agent agreed on, often the process identifier. errors: may be NULL; with FCOE_REFUSED a
 * list of fcoe_error, empty when the core agent refused its lock.
 * Status: FCOE_OK, FCOE_REFUSED, FCOE_BAD_ARGUMENT, FCOE_UNKNOWN_ADAPTER, FCOE_NO_MEMORY, FCOE_FAILED. */
FCOE_API fcoe_status fcoe_vport_create(fcoe_session* session, const fcoe_char* adapter, fcoe_char* wwpn,
                                       uint32_t lock_owner, fcoe_list** errors, fcoe_char** message);
/* Deletes an NPIV virtual port; all else as of fcoe_vport_create. */
FCOE_API fcoe_status fcoe_vport_delete(fcoe_session* session, const fcoe_char* adapter, const fcoe_char* wwpn,
                                       uint32_t lock_owner, fcoe_list** errors, fcoe_char** message);
/* Has the HBA library generate an unused port name and changes nothing. wwpn: 24 units of the host's, receives the
 * name. FCOE_REFUSED: the library gave none. All other statuses as of fcoe_vport_create. */
FCOE_API fcoe_status fcoe_generate_wwpn(fcoe_session* session, const fcoe_char* adapter, fcoe_char* wwpn,
                                        fcoe_char** message);
/* Has the HBA library look for the adapter's targets anew. FCOE_REFUSED: it did not, or there is nothing that could.
 * All other statuses as of fcoe_vport_create. */
FCOE_API fcoe_status fcoe_refresh_targets(fcoe_session* session, const fcoe_char* adapter, fcoe_char** message);

#ifdef __cplusplus
}
#endif
#endif
