;;; The application layer's loads: Load Detail for a room or zone, with what the project database
;;; knows of its calculated loads, and a fresh calculation when the designer asks for one.

;; The value of COLUMN in the first row of SQL on the current project, or nil.
(defun loads-hvac-value (sql column / file)
  (if (setq file (projectdb-currentFile))
    (car (kvdb-query file sql column))))

;; The calculated cooling time of room IX with the largest room total, as (month hour); nil when
;; no cooling was calculated for it. The report opens on the peak, where a designer looks first.
(defun loads-hvac-peakTime (ix) (loads-hvac-peakTimeOf (- ix)))

;; The same for a load id: negative for a room, positive for a zone.
(defun loads-hvac-peakTimeOf (id / from month)
  (setq from (strcat " FROM tblLoadRoomCooling WHERE " (loads-hvac-owner id) " ORDER BY dRoomTotal DESC LIMIT 1"))
  (if (setq month (loads-hvac-value (strcat "SELECT iMonth" from) "iMonth"))
    (list month (loads-hvac-value (strcat "SELECT iHour" from) "iHour"))))

;; The SQL condition on the result rows of load ID.
(defun loads-hvac-owner (id)
  (if (< id 0) (strcat "ixRoomL = " (itoa (- id))) (strcat "ixZone = " (itoa id))))

;; The ventilation method the report reads, from the project's option: the ASHRAE 62 family shows
;; as "YES", the mechanical code's as "IMC", anything else as the plain minimum.
(defun loads-hvac-method (/ option)
  (setq option (loads-hvac-value "SELECT sText FROM tblGlobal WHERE sKey = 'bldg-ASHRAE62'" "sText"))
  (cond ((member option '("YES" "ASHRAE2007" "ASHRAE2010")) "YES")
        ((member option '("IMC" "IMC2009")) "IMC")
        (T "NO")))

;; The title of load ID: the room's name, or the zone's label in the zone tree.
(defun loads-hvac-title (id / name)
  (cond ((< id 0)
         (if (setq name (loads-hvac-value (strcat "SELECT sName FROM tblRoomL WHERE ixRoomL = " (itoa (- id))) "sName"))
           name (strcat "Room " (itoa (- id)))))
        ((setq name (cadr (assoc id (loadcalc-zones)))) name)
        (T (strcat "Zone " (itoa id)))))

;; The diffusers' supply air now serving load ID, in cfm.
(defun loads-hvac-currentAir (id / rooms)
  (setq rooms (if (< id 0) (list (- id)) (caddr (assoc id (loadcalc-zones)))))
  (if rooms
    (fix (+ 0.5 (cond ((loads-hvac-value (strcat "SELECT sum(CFM) AS c FROM tblDiffL WHERE bDeleted = 0 AND ixRoomL IN ("
                                                 (roomdata-join (mapcar 'itoa rooms) ", ") ")") "c"))
                      (0.0))))
    0))

;; Opens Load Detail once for load ID (negative a room, positive a zone) on its peak hour; answers
;; the dialog's result.
(defun loads-hvac-showOnce (id / design heating peak e area people required)
  (setq design (roomdata-design)
        heating (strcat " FROM tblLoadRoomHeating WHERE " (loads-hvac-owner id))
        peak (loads-hvac-peakTimeOf id)
        area (loads-hvac-value (strcat "SELECT dArea" heating) "dArea")
        people (loads-hvac-value (strcat "SELECT dPeople" heating) "dPeople")
        required (loads-hvac-value (strcat "SELECT max(iCoolingCFM) AS c FROM tblLoadRoomCooling WHERE " (loads-hvac-owner id)) "c"))
  (if (and (null area) (< id 0) (setq e (room-hvac-entity (- id))))
    (setq area (/ (kv_hvac-room-getArea e) 144.0)))
  (kv_hvac-loadDetail (loads-hvac-title id) id (> id 0) (loads-hvac-method)
                      (if area (float area) 0.0) (if people (float people) 0.0)
                      (if peak (car peak) 0) (if peak (cadr peak) 0)
                      (loads-hvac-currentAir id) (if required required 0)
                      (fix (cdr (assoc "dSupplyCooling" design)))
                      (fix (- (cdr (assoc "dIndoorHeating" design)) (cdr (assoc "dOutdoorHeating" design))))
                      0 0 (if peak (car peak) 0) (if peak (cadr peak) 0)
                      (null (loads-hvac-value (strcat "SELECT dRoomTotal" heating) "dRoomTotal")) (null peak)))

;; Load Detail of load ID; "Calculate This Load" recalculates it and shows the fresh figures, as
;; often as the designer asks. Answers the last result of the dialog.
(defun loads-hvac-show (id / result)
  (while (= 1 (setq result (loads-hvac-showOnce id)))
    (if (if (< id 0) (loads-hvac-calcRoom (- id)) (loads-hvac-calcZone id))
      (princ (strcat "
" (loads-hvac-title id) ": loads recalculated."))
      (princ (strcat "
" (loads-hvac-title id) ": nothing to calculate; give "
                     (if (< id 0) "the room its construction (KV-ROOMDATA)." "the zone rooms with construction.")))))
  result)

;; Load Detail of room IX, and of zone Z.
(defun loads-hvac-showRoom (ix) (loads-hvac-show (- ix)))
(defun loads-hvac-showZone (z) (loads-hvac-show z))

;; Command KV-LOADDETAIL: Load Detail for the room at the point picked.
(defun c:kv-loadDetail (/ point ix)
  (cond
    ((null (setq point (getpoint "\nPick a room: "))))
    ((null (setq ix (kv_hvac-room-find point))) (princ "\nNo room there."))
    (T (loads-hvac-showRoom ix)))
  (princ))
