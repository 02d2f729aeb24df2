;;; Rooms' construction and use and the load calculation's commands in a new project: KV-ROOMDATA
;;; by queued answers (Enter keeps, keywords by their start, Esc leaves the old data whole), the
;;; function form's checks, design conditions, one room recalculated into its zone, and
;;; KV-CALCLOADS's messages. Exit 1 when a result is wrong.

(setq rd-failures 0)
(defun rd-check (name ok)
  (if (not ok) (progn (princ (strcat "\nFAIL " name)) (setq rd-failures (1+ rd-failures))))
  ok)

;; The work folder ctest gives this run, its own for each checkout and back end; by hand, a
;; folder in /tmp.
(setq root (strcat (cond ((getenv "KV_SCENARIO_DIR")) ("/tmp/kv_lisp_roomdata")) "/"))
(foreach f (list "rooms.dwg" (strcat (vl-filename-base (vl-string-right-trim "/" root)) "_kv_hvac.kv")
                 (strcat (vl-filename-base (vl-string-right-trim "/" root)) "_kv_hvac.kvlink"))
  (vl-file-delete (strcat root f)))
(kvhost-new)
;; An unsaved drawing has no project: nothing is stored or calculated, zones of the session's tree
;; included, and nothing fails.
(tree-hvac-store "zone" '(("Z" . 1) (("R" . -1))))
(rd-check "no project, no room data" (null (roomdata-setRoom 1 nil nil)))
(rd-check "no project, nothing calculated" (and (= 0 (loads-hvac-calcAll)) (null (loads-hvac-calcRoom 1))))
(rd-check "save" (kvhost-save-as (strcat root "rooms.dwg")))
(kvhost-close (strcat root "rooms.dwg"))
(projectdb-createProject root)
(rd-check "open" (kvhost-open (strcat root "rooms.dwg")))
(setq file (projectdb-currentFile))

;; Design conditions: the defaults until stored; a partial store keeps the other values.
(rd-check "default latitude" (= 40 (cdr (assoc "iLatitude" (roomdata-design)))))
(roomdata-setDesign '(("iLatitude" . 32) ("dIndoorCooling" . 74.0)))
(roomdata-setDesign '(("dOutdoorHeating" . 0.0)))
(setq design (roomdata-design))
(rd-check "stored design" (and (= 32 (cdr (assoc "iLatitude" design))) (= 74.0 (cdr (assoc "dIndoorCooling" design)))
                              (= 0.0 (cdr (assoc "dOutdoorHeating" design))) (= 95.0 (cdr (assoc "dOutdoorCooling" design)))))
(rd-check "one design row" (= 1 (length (kvdb-query file "SELECT ixDesign FROM tblDesign" "ixDesign"))))

;; A room drawn by four picks: 240 by 180 inches, 300 sf.
(kvhost-input "point 0,0" "point 240,0" "point 240,180" "point 0,180" "enter" "point 120,90")
(rd-check "room" (room-hvac-draw "Lab"))

;; The command: area offered from the drawing and kept by Enter, people typed, the rest kept;
;; a wall facing "s" (south, not SE), its number and area typed, U kept; glass by "g", facing
;; kept (S), zone type "c"; then Done by Enter.
(kvhost-input "point 200,150"
              "enter" "text 4" "text 600" "enter" "text 10" "text abc" "text 40"
              "text w" "text s" "text 4" "text 200" "enter"
              "text g" "enter" "text 60" "enter" "enter" "text c"
              "enter")
(c:kv-roomData)
(rd-check "every answer used" (= 0 (kvhost-input)))
(setq data (roomdata-room 1) use (car data))
(rd-check "area from the drawing" (equal 300.0 (cdr (assoc "dArea" use)) 0.01))
(rd-check "typed values" (and (= 4.0 (cdr (assoc "dPeople" use))) (= 600.0 (cdr (assoc "dLights" use)))
                              (= 10.0 (cdr (assoc "dInfiltration" use))) (= 40.0 (cdr (assoc "dOutdoorAir" use)))))
(rd-check "kept defaults" (and (= 0.0 (cdr (assoc "dEquipment" use))) (= 250.0 (cdr (assoc "dPeopleSensible" use)))))
(rd-check "surfaces" (equal (cadr data) '(("WALL" "S" 4 200.0 0.08 1.0 nil 0.0 0.0)
                                         ("GLASS" "S" 0 60.0 0.55 0.6 "C" 0.0 0.0))))

;; Esc halfway through a second session leaves all of it as it was, surfaces included.
(kvhost-input "point 200,150" "text 9" "enter" "enter" "enter" "enter" "enter" "text clear" "text roof" "esc")
(c:kv-roomData)
(rd-check "Esc keeps the old data" (equal (roomdata-room 1) data))
(kvhost-input "point 900,900")
(c:kv-roomData)

;; The function form refuses a bad surface and then leaves the stored data alone.
(rd-check "unknown kind refused" (null (roomdata-setRoom 1 nil '(("CHIMNEY" "N" 1 10.0 0.1)))))
(rd-check "negative area refused" (null (roomdata-setRoom 1 nil '(("WALL" "N" 1 -10.0 0.1)))))
(rd-check "facing needed" (null (roomdata-setRoom 1 nil '(("GLASS" "UP" 0 10.0 0.5 0.6 "A")))))
(rd-check "wall 8 refused" (null (roomdata-setRoom 1 nil '(("DOOR" "E" 8 10.0 0.5)))))
(rd-check "zone type needed" (null (roomdata-setRoom 1 nil '(("GLASS" "S" 0 10.0 0.5 0.6 nil)))))
(rd-check "lower case taken" (roomdata-setRoom 4 nil '(("glass" "wnw" 0 10.0 0.5 0.6 "d"))))
(rd-check "stored in capitals" (equal (cadr (roomdata-room 4)) '(("GLASS" "WNW" 0 10.0 0.5 0.6 "D" 0.0 0.0))))
(rd-check "data still whole" (equal (roomdata-room 1) data))
(rd-check "no data for another room" (null (roomdata-room 2)))

;; KV-CALCLOADS with no month marked says so and writes nothing.
(kvdb-execute file "UPDATE tblMonth SET bDoCalculation = 0")
(c:kv-calcLoads)
(rd-check "no rows without months" (null (kvdb-query file "SELECT iHour FROM tblLoadRoomCooling" "iHour")))
(kvdb-execute file "UPDATE tblMonth SET bDoCalculation = -1 WHERE iMonth = 5")
(c:kv-calcLoads)
(rd-check "June hours" (= 24 (length (kvdb-query file "SELECT iHour FROM tblLoadRoomCooling WHERE ixRoomL = 1 AND iMonth = 5" "iHour"))))
(rd-check "heating row" (= 1 (length (kvdb-query file "SELECT dRoomTotal FROM tblLoadRoomHeating WHERE ixRoomL = 1" "dRoomTotal"))))
(rd-check "required air" (> (loads-hvac-roomAir 1) 0))

;; A second room in a zone: calculating it alone brings the zone up to date, and the zone's hours
;; are the two rooms' sums; calculating again replaces rows rather than adding to them.
(room-hvac-register 2 "Store")
(roomdata-setRoom 2 '(("dArea" . 100.0)) '(("ROOF" nil 1 100.0 0.1)))
(tree-hvac-store "zone" '(("West" . 3) (("Lab" . -1) ("Store" . -2))))
(rd-check "zone list" (equal (loadcalc-zones) '((3 "West" (1 2)))))
(rd-check "peak of room 2" (= 3 (length (loads-hvac-calcRoom 2))))
(loads-hvac-calcRoom 2)
(defun rd-total (where) (car (kvdb-query file (strcat "SELECT sum(dRoomTotal) AS t FROM tblLoadRoomCooling WHERE " where) "t")))
(rd-check "zone is the sum" (equal (rd-total "ixZone = 3") (rd-total "ixRoomL IN (1, 2)") 0.5))
(rd-check "24 zone rows" (= 24 (length (kvdb-query file "SELECT iHour FROM tblLoadRoomCooling WHERE ixZone = 3" "iHour"))))
(rd-check "no data, no peak" (null (loads-hvac-calcRoom 5)))
(rd-check "no air without results" (null (loads-hvac-roomAir 5)))

(if (> rd-failures 0) (exit 1))
(princ "\nloads_roomdata: all checks passed")
