;;; The demo's loads, after examples/demo.lsp has drawn the office: every room of the drawing gets
;;; its construction from its outline (outside walls found by looking past each side, glass a
;;; share of them, a roof on the top floor), its use from its name and area; then the cooling and
;;; heating loads of every room and zone, the Load Detail of the room with the largest cooling
;;; load as a picture, and the summary a designer reads.

(defun dl-title (text) (princ (strcat "\n\n== " text " ==")))

;; Storey height (ft), the share of an outside wall that is glass, and how far past a side (in
;; drawing units, inches) a point must lie to tell a neighbouring room from the outside.
(setq dl-height 10.0 dl-glassShare 0.35 dl-probe 12.0)

;; The compass point an outward direction (dx dy) faces, plan north up.
(defun dl-facing (dx dy)
  (nth (rem (fix (+ 0.5 (/ (- 450.0 (* (/ 180.0 pi) (atan dy dx))) 45.0))) 8) '("N" "NE" "E" "SE" "S" "SW" "W" "NW")))

;; The outside sides of room IX as ((facing length-in-ft) ...): a side is outside when the point
;; just past it is in no room.
(defun dl-outsideWalls (ix / pts out len nx ny mid a b)
  (setq pts (mapcar '(lambda (p) (list (car p) (cadr p))) (kv_hvac-room-getPoints (room-hvac-entity ix))))
  (foreach side (mapcar 'list pts (append (cdr pts) (list (car pts))))
    (setq len (distance (car side) (cadr side)))
    (if (> len 0)
      (progn
        (setq nx (/ (- (cadr (cadr side)) (cadr (car side))) len)
              ny (/ (- (car (car side)) (car (cadr side))) len)
              mid (mapcar '(lambda (u v) (/ (+ u v) 2.0)) (car side) (cadr side))
              a (list (+ (car mid) (* nx dl-probe)) (+ (cadr mid) (* ny dl-probe)))
              b (list (- (car mid) (* nx dl-probe)) (- (cadr mid) (* ny dl-probe))))
        (cond ((and (null (kv_hvac-room-find a)) (= ix (kv_hvac-room-find b)))
               (setq out (cons (list (dl-facing nx ny) (/ len 12.0)) out)))
              ((and (null (kv_hvac-room-find b)) (= ix (kv_hvac-room-find a)))
               (setq out (cons (list (dl-facing (- nx) (- ny)) (/ len 12.0)) out)))))))
  (reverse out))

;; The rooms under a roof: those of the last floor of the floor tree, or every room without one.
(defun dl-roofed (rooms / floors)
  (if (setq floors (loadcalc-zonesOf (tree-hvac-get "floor")))
    (caddr (last floors))
    rooms))

;; Room IX's construction and use: medium walls (wall 10, U 0.07) with a share of double glass
;; (U 0.55, SC 0.6, zone type B) on each outside side, roof 3 (U 0.05), office use (one person
;; per 100 sf, 20 sf in a meeting room), 1 W/sf of lights, 1.5 W/sf of equipment, infiltration of
;; 0.1 cfm per sf of outside wall, outdoor air of 5 cfm a person and 0.06 cfm/sf.
(defun dl-construct (ix name roofed / area walls surfaces people wallArea)
  (setq area (/ (kv_hvac-room-getArea (room-hvac-entity ix)) 144.0)
        walls (dl-outsideWalls ix)
        people (/ area (if (wcmatch (strcase name) "*MEETING*,*CONFERENCE*") 20.0 100.0))
        wallArea 0.0)
  (foreach w walls
    (setq wallArea (+ wallArea (* (cadr w) dl-height))
          surfaces (append surfaces
                           (list (list "WALL" (car w) 10 (* (cadr w) dl-height (- 1 dl-glassShare)) 0.07)
                                 (list "GLASS" (car w) 0 (* (cadr w) dl-height dl-glassShare) 0.55 0.6 "B")))))
  (if (member ix roofed) (setq surfaces (append surfaces (list (list "ROOF" nil 3 area 0.05)))))
  (roomdata-setRoom ix (list (cons "dArea" area) (cons "dPeople" people) (cons "dLights" area)
                             (cons "dEquipment" (* 1.5 area)) (cons "dInfiltration" (* 0.1 wallArea))
                             (cons "dOutdoorAir" (+ (* 5.0 people) (* 0.06 area))))
                    surfaces)
  (princ (strcat "\n  " name ": " (rtos area 2 0) " sf, outside walls "
                 (if walls (apply 'strcat (mapcar '(lambda (w) (strcat (car w) " " (rtos (cadr w) 2 0) " ft  ")) walls)) "none  ")
                 (if (member ix roofed) "roof" "no roof"))))

(defun dl-hour (h)
  (setq h (1+ h))
  (cond ((= h 12) "noon") ((= h 24) "midnight") ((< h 12) (strcat (itoa h) " am")) (T (strcat (itoa (- h 12)) " pm"))))

;; "peak N Btu/h in MONTH at HOUR, heating N Btu/h" of load ID.
(defun dl-loads (id / file peak where)
  (setq file (projectdb-currentFile) peak (loads-hvac-peakTimeOf id) where (loads-hvac-owner id))
  (if peak
    (strcat "cooling " (rtos (car (kvdb-query file (strcat "SELECT max(dRoomTotal) AS t FROM tblLoadRoomCooling WHERE " where) "t")) 2 0)
            " Btu/h (" (car (kvdb-query file (strcat "SELECT sName FROM tblMonth WHERE iMonth = " (itoa (car peak))) "sName"))
            " " (dl-hour (cadr peak)) "), heating "
            (rtos (car (kvdb-query file (strcat "SELECT dRoomTotal FROM tblLoadRoomHeating WHERE " where) "dRoomTotal")) 2 0) " Btu/h")
    "not calculated"))

(dl-title "Room construction")
(setq dl-file (projectdb-currentFile)
      dl-rooms (vl-remove-if-not 'room-hvac-entity (kvdb-query dl-file "SELECT ixRoomL FROM tblRoomL ORDER BY ixRoomL" "ixRoomL"))
      dl-roofed (dl-roofed dl-rooms))
(roomdata-setDesign '(("iLatitude" . 40)))
(foreach ix dl-rooms (dl-construct ix (loads-hvac-title (- ix)) dl-roofed))

;; A point inside room IX, as a designer would pick it: the middle of its outline's corners.
(defun dl-centre (ix / pts)
  (setq pts (kv_hvac-room-getPoints (room-hvac-entity ix)))
  (strcat (rtos (/ (apply '+ (mapcar 'car pts)) (length pts)) 2 2) ","
          (rtos (/ (apply '+ (mapcar 'cadr pts)) (length pts)) 2 2)))

;; The designer corrects the meeting room by the command: twelve people, everything else kept.
(if (setq dl-meeting (vl-some '(lambda (ix) (if (wcmatch (strcase (loads-hvac-title (- ix))) "*MEETING*") ix)) dl-rooms))
  (progn
    (dl-title "KV-ROOMDATA on the meeting room: 12 people")
    (kvhost-input (strcat "point " (dl-centre dl-meeting)) "enter" "text 12" "enter" "enter" "enter" "enter" "enter")
    (c:kv-roomData)))

(dl-title "Load calculation (40 N, 95 F / 21 F range outdoors, 75 F indoors; 10 F / 70 F in winter)")
(c:kv-calcLoads)

(dl-title "Peak loads per room")
(foreach ix dl-rooms
  (princ (strcat "\n  " (loads-hvac-title (- ix)) ": " (dl-loads (- ix)) ", supply air "
                 (itoa (cond ((loads-hvac-roomAir ix)) (0))) " cfm")))
(dl-title "Peak loads per zone (block loads)")
(if (loadcalc-zones)
  (foreach zone (loadcalc-zones) (princ (strcat "\n  " (cadr zone) ": " (dl-loads (car zone)))))
  (princ "\n  (the project has no zones)"))

;; The report a designer opens first: the room with the largest cooling load, as a picture.
(setq dl-peak (car (vl-sort dl-rooms '(lambda (a b) (> (car (kvdb-query dl-file (strcat "SELECT max(dRoomTotal) AS t FROM tblLoadRoomCooling WHERE ixRoomL = " (itoa a)) "t"))
                                                     (car (kvdb-query dl-file (strcat "SELECT max(dRoomTotal) AS t FROM tblLoadRoomCooling WHERE ixRoomL = " (itoa b)) "t")))))))
(if dl-peak
  (progn
    (kvhost-input (strcat "point " (dl-centre dl-peak)) (strcat "picture " (getvar "DWGPREFIX") "load-detail.png") "click #1")
    (c:kv-loadDetail)
    (princ (strcat "\n  Load Detail of " (loads-hvac-title (- dl-peak)) ": " (getvar "DWGPREFIX") "load-detail.png"))))
(princ)
