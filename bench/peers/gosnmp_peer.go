// What gosnmp needs to ask every simulated scanner for some objects, and to encode and decode one
// message. Prints lines of JSON.
//
// Usage: gosnmp_peer at_once|in_turn SCANNERS OBJECT...
//
//	gosnmp_peer codec SECONDS OBJECT NAME=HEX...
package main

import (
	"encoding/hex"
	"flag"
	"fmt"
	"os"
	"strconv"
	"strings"
	"sync"
	"testing"
	"time"

	"github.com/gosnmp/gosnmp"
)

func fail(err error) {
	if err != nil {
		fmt.Fprintf(os.Stderr, "gosnmp_peer: %v\n", err)
		os.Exit(1)
	}
}

func client(target string) *gosnmp.GoSNMP {
	return &gosnmp.GoSNMP{Target: target, Port: 161, Transport: "udp", Version: gosnmp.Version1,
		Community: "public", Timeout: 3 * time.Second, Retries: 0, MaxOids: gosnmp.MaxOids}
}

// One question after the other to one scanner.
func ask(host string, objects []string) {
	session := client(host)
	fail(session.Connect())
	defer session.Conn.Close()
	for _, object := range objects {
		answer, err := session.Get([]string{object})
		fail(err)
		if answer.Error != gosnmp.NoError || len(answer.Variables) != 1 {
			fail(fmt.Errorf("%s: no value of %s", host, object))
		}
	}
}

func askAll(atOnce bool, scanners int, objects []string) {
	begin := time.Now()
	var open sync.WaitGroup
	for i := 1; i <= scanners; i++ {
		host := fmt.Sprintf("10.77.%d.%d", (100+i)/256, (100+i)%256)
		if !atOnce {
			ask(host, objects)
			continue
		}
		open.Add(1)
		go func() {
			defer open.Done()
			ask(host, objects)
		}()
	}
	open.Wait()
	fmt.Printf("{\"seconds\": %.9f}\n", time.Since(begin).Seconds())
}

func report(name string, work func()) {
	result := testing.Benchmark(func(b *testing.B) {
		b.ReportAllocs()
		for i := 0; i < b.N; i++ {
			work()
		}
	})
	fmt.Printf("{\"name\": \"%s\", \"ns\": %.3f, \"blocks\": %d, \"bytes\": %d}\n", name,
		float64(result.T.Nanoseconds())/float64(result.N), result.AllocsPerOp(),
		result.AllocedBytesPerOp())
}

func codec(seconds string, object string, messages []string) {
	testing.Init()
	fail(flag.Set("test.benchtime", seconds+"s"))
	session := client("127.0.0.1")
	question := []gosnmp.SnmpPDU{{Name: object, Type: gosnmp.Null}}
	report("encode", func() {
		_, err := session.SnmpEncodePacket(gosnmp.GetNextRequest, question, 0, 0)
		fail(err)
	})
	for _, message := range messages {
		name, digits, _ := strings.Cut(message, "=")
		bytes, err := hex.DecodeString(digits)
		fail(err)
		report(name, func() {
			_, err := session.SnmpDecodePacket(bytes)
			fail(err)
		})
	}
}

func main() {
	if len(os.Args) < 4 {
		fail(fmt.Errorf("too few arguments"))
	}
	if os.Args[1] == "codec" {
		codec(os.Args[2], os.Args[3], os.Args[4:])
		return
	}
	scanners, err := strconv.Atoi(os.Args[2])
	fail(err)
	askAll(os.Args[1] == "at_once", scanners, os.Args[3:])
}
